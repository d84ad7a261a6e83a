// SPDX-License-Identifier: MIT
#include "MosaicRows.h"

#include "MosaicTiles.h"
#include "PixelCopy.h"
#include "Sampler.h"

#include <algorithm>
#include <cmath>

namespace KxC {

namespace {

/// Columns between nodes: no farther, so that what a row meets by the way is not stepped over; no
/// nearer, because by then transforming each column is as quick.
constexpr std::size_t kMaxSpacing = 32;
constexpr std::size_t kMinSpacing = 4;

/// Pixels a tile, for telling what an error is worth.
constexpr double kPixels = 256;
/// Pixels: a stretch that bends by more is split.
constexpr double kMaxBend = 4;
/// Degrees: what a transform's iterations may leave of a position, 1e-10 radians.
constexpr double kTransformError = 6e-9;

/// Error up to which asking for the open columns costs less than four more nodes.
double WorthwhileError(std::size_t spacing)
{
    return 0.5 / (static_cast<double>(spacing) * kPixels);
}

double Wobble(const std::vector<double>& xs)
{
    if (xs.size() < 3)
        return 0;
    const std::size_t last = xs.size() - 2; // the very last is never evenly spaced
    const double step = (xs[last] - xs[0]) / static_cast<double>(last);
    double wobble = 0;
    for (std::size_t i = 0; i < last; ++i)
        wobble = std::max(wobble, std::abs(xs[i] - xs[0] - step * static_cast<double>(i)));
    return wobble / step;
}

/// A number as its whole part, rounded down, and the rest. For numbers that an int can hold.
struct Split
{
    explicit Split(double value) : m_whole(static_cast<int>(value))
    {
        m_whole -= static_cast<double>(m_whole) > value ? 1 : 0;
        m_rest = value - m_whole;
    }
    int m_whole;
    double m_rest;
};

/// A tile, and where in it an interpolated place leaves no doubt about the pixel.
class SureTile
{
public:
    SureTile() = default;
    /// @param errorUp, errorAcross  of places, in tiles
    SureTile(MosaicTiles& tiles, int row, int col, double errorUp, double errorAcross)
        : m_row(row), m_col(col)
    {
        const KxImageData* const image = tiles.ImageAt(row, col);
        if (image != nullptr) {
            m_bytes = image->GetData();
            m_rowBytes = image->GetRowBytes();
            m_pixelSize = image->GetPixelSize();
            m_width = image->GetWidth();
            m_height = image->GetHeight();
        }
        m_offUp = errorUp * m_height;
        m_offAcross = errorAcross * m_width;
    }
    bool Is(int row, int col) const { return row == m_row && col == m_col; }
    int PixelSize() const { return m_pixelSize; }

    /// @param up, across  place in the tile, [0, 1)
    /// @param pixel       receives the pixel, null where the tile has no picture
    /// @return false where the place does not tell
    bool Find(double up, double across, const unsigned char*& pixel) const
    {
        const Split y(up * m_height);
        const Split x(across * m_width);
        if (!(y.m_rest > m_offUp && y.m_rest < 1 - m_offUp && x.m_rest > m_offAcross &&
              x.m_rest < 1 - m_offAcross))
            return false;
        if (m_bytes != nullptr)
            pixel = m_bytes + static_cast<std::ptrdiff_t>(y.m_whole) * m_rowBytes +
                    static_cast<std::ptrdiff_t>(x.m_whole) * m_pixelSize;
        return true;
    }

private:
    int m_row = -1;
    int m_col = -1;
    const unsigned char* m_bytes = nullptr;
    std::ptrdiff_t m_rowBytes = 0;
    int m_pixelSize = 3;
    int m_width = 1; ///< without a picture the tile's own edges are left to tell apart
    int m_height = 1;
    double m_offUp = 0;
    double m_offAcross = 0;
};

} // namespace

MosaicRows::MosaicRows(const TransformGrid& grid, std::vector<double> xs)
    : m_grid(grid), m_xs(std::move(xs)), m_wobble(Wobble(m_xs)),
      m_nearest(!KxImageData::IsBilinear()), m_places(m_xs.size()), m_exact(m_xs.size())
{
}

void MosaicRows::Fill(KxImageData& output, int row, double y, MosaicTiles& tiles)
{
    std::fill(m_exact.begin(), m_exact.end(), false);
    m_decided.clear();
    PutStretches();
    while (!m_open.empty()) {
        TransformNodes(y);
        Decide();
    }
    for (const auto& [stretch, error] : m_decided)
        Interpolate(PixelOf(output, row, 0), stretch, error, tiles);
    Transform(y);
    SampleExact(output, row, tiles);
}

/// Covers the columns with stretches; what is left is transformed, and so is the last column, which
/// stands apart from the even spacing.
void MosaicRows::PutStretches()
{
    m_open.clear();
    std::size_t first = 0;
    const std::size_t last = m_xs.size() < 2 ? 0 : m_xs.size() - 2;
    for (std::size_t spacing = kMaxSpacing; m_nearest && spacing >= kMinSpacing; spacing /= 2)
        for (; first + 4 * spacing <= last; first += 4 * spacing)
            m_open.push_back({first, spacing});
    Want(first, m_xs.size());
}

void MosaicRows::Want(std::size_t first, std::size_t end)
{
    for (std::size_t column = first; column < end; ++column)
        if (!m_exact[column]) {
            m_exact[column] = true;
            m_wanted.push_back(column);
        }
}

void MosaicRows::Transform(double y)
{
    if (m_wanted.empty())
        return;
    m_wantedXs.clear();
    for (const std::size_t column : m_wanted)
        m_wantedXs.push_back(m_xs[column]);
    m_grid.PlacesOf(m_wantedXs, y, m_wantedPlaces);
    for (std::size_t i = 0; i < m_wanted.size(); ++i)
        m_places[m_wanted[i]] = m_wantedPlaces[i];
    m_wanted.clear();
}

void MosaicRows::TransformNodes(double y)
{
    for (const Stretch& stretch : m_open)
        for (std::size_t i = 0; i <= 4; ++i)
            Want(stretch.Node(i), stretch.Node(i) + 1);
    Transform(y);
}

/// Accepts the stretches whose error is small and splits the others.
void MosaicRows::Decide()
{
    const std::vector<Stretch> stretches = std::move(m_open);
    m_open.clear();
    for (const Stretch& stretch : stretches) {
        Error error{};
        if (BoundError(stretch, error))
            m_decided.emplace_back(stretch, error);
        else
            SplitUp(stretch);
    }
}

void MosaicRows::SplitUp(const Stretch& stretch)
{
    if (stretch.m_spacing <= kMinSpacing)
        return Want(stretch.m_first, stretch.End());
    m_open.push_back({stretch.m_first, stretch.m_spacing / 2});
    m_open.push_back({stretch.Node(2), stretch.m_spacing / 2});
}

/// @return false where the nodes are not those of a smooth curve, or interpolating is not worth it
bool MosaicRows::BoundError(const Stretch& stretch, Error& error) const
{
    const GridPosition unconverted = m_grid.Unconverted();
    for (std::size_t i = 0; i <= 4; ++i) {
        const GridPosition& node = m_places[stretch.Node(i)];
        const bool isPlace = std::abs(node.m_col) < 2e9 && std::abs(node.m_row) < 2e9;
        if (!isPlace || (node.m_col == unconverted.m_col && node.m_row == unconverted.m_row))
            return false;
    }
    error = {BoundAlong(&GridPosition::m_col, stretch), BoundAlong(&GridPosition::m_row, stretch)};
    return std::max(error.m_col, error.m_row) <= WorthwhileError(stretch.m_spacing);
}

double MosaicRows::BoundAlong(double GridPosition::*axis, const Stretch& stretch) const
{
    const auto node = [&](std::size_t i) { return m_places[stretch.Node(i)].*axis; };
    // How far the second and fourth node are from the parabola through the others, ...
    const double second = node(1) - (3 * node(0) + 6 * node(2) - node(4)) / 8;
    const double fourth = node(3) - (3 * node(4) + 6 * node(2) - node(0)) / 8;
    // ... and the middle from the chord.
    const double bend = std::abs(node(0) - 2 * node(2) + node(4)) / 2;
    if (bend > kMaxBend / kPixels)
        return 1;
    const auto spacing = static_cast<double>(stretch.m_spacing);
    const double unseen = bend * std::pow(bend * kPixels / (2 * spacing), 3);
    double step = 0;
    for (std::size_t i = 0; i < 4; ++i)
        step = std::max(step, std::abs(node(i + 1) - node(i)));
    const double uneven = 4 * m_wobble * step / spacing;
    return 4 * (std::abs(second) + std::abs(fourth)) + unseen + uneven +
           kTransformError / m_grid.Span();
}

void MosaicRows::Interpolate(unsigned char* output,
                             const Stretch& stretch,
                             const Error& error,
                             MosaicTiles& tiles)
{
    const Quartic colAt = CurveAlong(&GridPosition::m_col, stretch);
    const Quartic rowAt = CurveAlong(&GridPosition::m_row, stretch);
    const double step = 1.0 / static_cast<double>(stretch.m_spacing);
    SureTile tile;
    for (std::size_t column = stretch.m_first; column < stretch.End(); ++column) {
        if (m_exact[column])
            continue;
        const double t = static_cast<double>(column - stretch.m_first) * step;
        const Split col(colAt.At(t));
        const Split row(rowAt.At(t));
        if (!tile.Is(row.m_whole, col.m_whole))
            tile = SureTile(tiles, row.m_whole, col.m_whole, error.m_row, error.m_col);
        const unsigned char* pixel = nullptr;
        if (!tile.Find(row.m_rest, col.m_rest, pixel))
            Want(column, column + 1);
        else if (pixel != nullptr && tile.PixelSize() == 4)
            CopyPixel<4, 4>(pixel, output + column * 4);
        else if (pixel != nullptr)
            CopyPixel<3, 4>(pixel, output + column * 4);
    }
}

/// The columns that are transformed, by the shared rule.
void MosaicRows::SampleExact(KxImageData& output, int row, MosaicTiles& tiles)
{
    for (std::size_t column = 0; column < m_xs.size(); ++column)
        if (m_exact[column])
            SamplePixel(output, row, static_cast<int>(column), tiles, m_places[column]);
}

Quartic MosaicRows::CurveAlong(double GridPosition::*axis, const Stretch& stretch) const
{
    double values[5];
    for (std::size_t i = 0; i <= 4; ++i)
        values[i] = m_places[stretch.Node(i)].*axis;
    return Quartic(values);
}

} // namespace KxC
