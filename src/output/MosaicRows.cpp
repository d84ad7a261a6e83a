// SPDX-License-Identifier: MIT
#include "MosaicRows.h"

#include "MosaicTiles.h"
#include "PixelCopy.h"
#include "PixelWalk.h"
#include "Sampler.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace KxC {

namespace {

/// Columns between nodes: no farther, so that what a row meets by the way is not stepped over; no
/// nearer, because by then transforming each column is as quick.
constexpr std::size_t kMaxSpacing = 32;
constexpr std::size_t kMinSpacing = 4;

/// Columns that are worked on at once: what is kept of each stays in the processor's caches, and
/// takes little memory however wide the picture is. So many stretches of the widest, and the node
/// that ends them.
constexpr std::size_t kBlock = PixelPositions::kBlock;
static_assert(kBlock == 32 * 4 * kMaxSpacing + 1);

/// Pixels a tile, for telling what an error is worth.
constexpr double kPixels = 256;
/// Pixels: a stretch that bends by more is split.
constexpr double kMaxBend = 4;
/// Tiles between nodes at most: what keeps a walk within its numbers, with tiles of 16384 pixels.
constexpr double kMaxStep = 4096;
static_assert(kMaxStep * 16384 < PixelWalk::kFarthest);
/// Degrees: what a transform's iterations may leave of a position, 1e-10 radians.
constexpr double kTransformError = 6e-9;

/// Error up to which asking for the open columns costs less than four more nodes.
double WorthwhileError(std::size_t spacing)
{
    return 0.5 / (static_cast<double>(spacing) * kPixels);
}

/// A tile's pixels.
struct TilePixels
{
    TilePixels() = default;
    explicit TilePixels(const KxImageData& image)
        : m_bytes(image.GetData()), m_rowBytes(image.GetRowBytes()),
          m_pixelSize(image.GetPixelSize()), m_width(image.GetWidth()), m_height(image.GetHeight())
    {
    }

    const unsigned char* Row(std::uint32_t row) const
    {
        return m_bytes + static_cast<std::ptrdiff_t>(row) * m_rowBytes;
    }

    const unsigned char* m_bytes = nullptr; ///< null without a picture
    std::ptrdiff_t m_rowBytes = 0;
    int m_pixelSize = 0;
    int m_width = 1; ///< without a picture the tile's own edges are left to tell apart
    int m_height = 1;
};

/// Pixels of the output from one tile, side by side.
struct Run
{
    const TilePixels& m_tile;
    PixelWalk m_across;
    PixelWalk m_up;
    unsigned char* m_output; ///< the first one's four bytes
    int m_count;
};

/// Copies what is sure as far as the run stays in the tile. What is not is handed to `leave`, by
/// its number in the run.
/// @param FromSize  bytes of the tile's pixels, 0 without a picture
/// @param IsLevel   the run stays in one row of the tile
/// @return how many pixels are done
template <int FromSize, bool IsLevel, class Leave>
int Copy(Run run, const Leave& leave)
{
    PixelWalk across = run.m_across;
    PixelWalk up = run.m_up;
    if (IsLevel && !up.IsInTile())
        return 0;
    const unsigned char* row = FromSize > 0 && IsLevel ? run.m_tile.Row(up.Pixel()) : nullptr;
    const bool isRowSure = up.IsSure();
    int i = 0;
    for (; i < run.m_count && across.IsInTile() && (IsLevel || up.IsInTile()); ++i) {
        if (!(across.IsSure() && (IsLevel ? isRowSure : up.IsSure()))) {
            leave(i);
        } else if constexpr (FromSize > 0) {
            if (!IsLevel)
                row = run.m_tile.Row(up.Pixel());
            CopyPixel<FromSize, 4>(row + std::size_t{across.Pixel()} * FromSize,
                                   run.m_output + std::ptrdiff_t{4} * i);
        }
        across.Step();
        if (!IsLevel)
            up.Step();
    }
    return i;
}

template <class Leave>
int CopySure(const Run& run, const Leave& leave)
{
    const bool isLevel = run.m_up.IsLevel();
    switch (run.m_tile.m_pixelSize) {
    case 4:
        return isLevel ? Copy<4, true>(run, leave) : Copy<4, false>(run, leave);
    case 3:
        return isLevel ? Copy<3, true>(run, leave) : Copy<3, false>(run, leave);
    default:
        return isLevel ? Copy<0, true>(run, leave) : Copy<0, false>(run, leave);
    }
}

int WholeBelow(double value)
{
    return static_cast<int>(std::floor(value));
}

} // namespace

MosaicRows::MosaicRows(const TransformGrid& grid, PixelPositions xs)
    : m_grid(grid), m_positions(std::move(xs)), m_wobble(m_positions.GetWobble()),
      m_nearest(!KxImageData::IsBilinear()), m_places(std::min(kBlock, m_positions.GetCount())),
      m_exact(m_places.size())
{
}

void MosaicRows::Fill(KxImageData& line, double y, MosaicTiles& tiles)
{
    for (m_begin = 0; m_begin < m_positions.GetCount(); m_begin += kBlock) {
        m_positions.Tell(m_begin, m_xs);
        m_count = m_xs.size();
        FillBlock(line, y, tiles);
    }
}

void MosaicRows::FillBlock(KxImageData& line, double y, MosaicTiles& tiles)
{
    ForgetBlock();
    PutStretches();
    while (!m_open.empty()) {
        TransformNodes(y);
        Decide();
    }
    for (const auto& [stretch, error] : m_decided)
        Interpolate(PixelOf(line, 0, static_cast<int>(m_begin)), stretch, error, tiles);
    Transform(y);
    SampleExact(line, tiles);
}

void MosaicRows::ForgetBlock()
{
    for (const std::size_t column : m_transformed)
        m_exact[column] = 0;
    m_transformed.clear();
    m_decided.clear();
    m_open.clear();
}

/// Covers the columns with stretches; what is left is transformed, and so is the row's last column,
/// which may stand apart from the even spacing.
void MosaicRows::PutStretches()
{
    const bool isEnd = m_begin + m_count == m_positions.GetCount();
    const std::size_t apart = isEnd ? 2 : 1;
    const std::size_t last = m_count < apart ? 0 : m_count - apart;
    std::size_t first = 0;
    for (std::size_t spacing = kMaxSpacing; m_nearest && spacing >= kMinSpacing; spacing /= 2)
        for (; first + 4 * spacing <= last; first += 4 * spacing)
            m_open.push_back({first, spacing});
    WantAll(first, m_count);
}

void MosaicRows::Want(std::size_t column)
{
    if (m_exact[column] == 0) {
        m_exact[column] = 1;
        m_wanted.push_back(column);
    }
}

void MosaicRows::WantAll(std::size_t first, std::size_t end)
{
    for (std::size_t column = first; column < end; ++column)
        Want(column);
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
    m_transformed.insert(m_transformed.end(), m_wanted.begin(), m_wanted.end());
    m_wanted.clear();
}

void MosaicRows::TransformNodes(double y)
{
    for (const Stretch& stretch : m_open)
        for (std::size_t i = 0; i <= 4; ++i)
            Want(stretch.Node(i));
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
        return WantAll(stretch.m_first, stretch.End());
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
    // What parabolas between the nodes add is in the first number: 0.08 of it.
    constexpr double kSeen = 4.1;
    const double unseen = bend * std::pow(bend * kPixels / (2 * spacing), 3);
    double step = 0;
    for (std::size_t i = 0; i < 4; ++i)
        step = std::max(step, std::abs(node(i + 1) - node(i)));
    const double uneven = 4 * m_wobble * step / spacing;
    if (step > kMaxStep)
        return 1;
    return kSeen * (std::abs(second) + std::abs(fourth)) + unseen + uneven +
           kTransformError / m_grid.Span();
}

/// Paints what lies between two nodes.
class MosaicRows::Painter
{
public:
    Painter(MosaicRows& rows, MosaicTiles& tiles, const Stretch& stretch, const Error& error)
        : m_rows(rows), m_tiles(tiles), m_error(error),
          m_spacing(static_cast<int>(stretch.m_spacing))
    {
    }

    /// @param first   column of the first node
    /// @param col, row  from there on
    void Paint(std::size_t first, const Parabola& col, const Parabola& row, unsigned char* output)
    {
        for (int i = 1; i < m_spacing;) {
            GoTo(WholeBelow(row.At(i)), WholeBelow(col.At(i)));
            const Run run{
                m_tile,
                PixelWalk(col, m_tileCol, m_tile.m_width, i, m_error.m_col * m_tile.m_width),
                PixelWalk(row, m_tileRow, m_tile.m_height, i, m_error.m_row * m_tile.m_height),
                output + 4 * (first + static_cast<std::size_t>(i)),
                m_spacing - i};
            const auto from = first + static_cast<std::size_t>(i);
            const int done = CopySure(
                run, [&](int number) { m_rows.Want(from + static_cast<std::size_t>(number)); });
            if (done == 0) // on the very edge, the tile is not sure either
                m_rows.Want(from);
            i += std::max(done, 1);
        }
    }

private:
    void GoTo(int row, int col)
    {
        if (m_isThere && row == m_tileRow && col == m_tileCol)
            return;
        const KxImageData* const image = m_tiles.ImageAt(row, col);
        m_tile = image != nullptr ? TilePixels(*image) : TilePixels();
        m_tileRow = row;
        m_tileCol = col;
        m_isThere = true;
    }

    MosaicRows& m_rows;
    MosaicTiles& m_tiles;
    const Error& m_error;
    int m_spacing;
    bool m_isThere = false;
    int m_tileRow = 0;
    int m_tileCol = 0;
    TilePixels m_tile;
};

/// Between nodes places follow a parabola, which is quicker to walk along than the curve through
/// all of them and as good.
void MosaicRows::Interpolate(unsigned char* output,
                             const Stretch& stretch,
                             const Error& error,
                             MosaicTiles& tiles)
{
    const Quartic colAt = CurveAlong(&GridPosition::m_col, stretch);
    const Quartic rowAt = CurveAlong(&GridPosition::m_row, stretch);
    const auto spacing = static_cast<double>(stretch.m_spacing);
    Painter painter(*this, tiles, stretch, error);
    for (std::size_t i = 0; i < 4; ++i) {
        const GridPosition& first = m_places[stretch.Node(i)];
        const GridPosition& last = m_places[stretch.Node(i + 1)];
        const double middle = static_cast<double>(i) + 0.5;
        painter.Paint(stretch.Node(i),
                      Parabola(first.m_col, colAt.At(middle), last.m_col, spacing),
                      Parabola(first.m_row, rowAt.At(middle), last.m_row, spacing),
                      output);
    }
}

/// The columns that are transformed, by the shared rule.
void MosaicRows::SampleExact(KxImageData& line, MosaicTiles& tiles)
{
    for (std::size_t column = 0; column < m_count; ++column)
        if (m_exact[column] != 0)
            SamplePixel(line, 0, static_cast<int>(m_begin + column), tiles, m_places[column]);
}

Quartic MosaicRows::CurveAlong(double GridPosition::*axis, const Stretch& stretch) const
{
    double values[5];
    for (std::size_t i = 0; i <= 4; ++i)
        values[i] = m_places[stretch.Node(i)].*axis;
    return Quartic(values);
}

} // namespace KxC
