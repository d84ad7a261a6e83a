// SPDX-License-Identifier: MIT
#include "Marble.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace KxOrigin {

namespace {

/// The source pixels that make one tile column or row, and how much each counts.
struct Footprint
{
    std::int64_t first = 0; ///< may lie outside the source
    std::vector<float> weights;
};

/// @param from, to  the extent in source pixels, from <= to
Footprint MakeFootprint(double from, double to)
{
    if (to - from < 1) {
        const double centre = (from + to) / 2;
        from = centre - 0.5;
        to = centre + 0.5;
    }
    Footprint footprint;
    footprint.first = static_cast<std::int64_t>(std::floor(from));
    const auto last = static_cast<std::int64_t>(std::ceil(to));
    for (std::int64_t pixel = footprint.first; pixel < last; ++pixel) {
        const auto start = static_cast<double>(pixel);
        const double share = std::min(start + 1, to) - std::max(start, from);
        footprint.weights.push_back(static_cast<float>(share / (to - from)));
    }
    return footprint;
}

using Footprints = std::vector<Footprint>;

Footprints ColumnFootprints(const Grid& grid, const PixelWindow& window, int sourceWidth)
{
    const auto side = static_cast<double>(SidePixels(window.level));
    const auto edge = [&](int column) {
        const double longitude = grid.Longitude(static_cast<double>(window.left + column) / side);
        return (longitude + 180) / 360 * sourceWidth;
    };
    Footprints footprints;
    for (int column = 0; column < kTileEdge; ++column)
        footprints.push_back(MakeFootprint(edge(column), edge(column + 1)));
    return footprints;
}

Footprints RowFootprints(const Grid& grid, const PixelWindow& window, int sourceHeight)
{
    const auto side = static_cast<double>(SidePixels(window.level));
    const auto edge = [&](int row) {
        const double latitude = grid.Latitude(static_cast<double>(window.top + row) / side);
        return (90 - std::clamp(latitude, -90.0, 90.0)) / 180 * sourceHeight;
    };
    Footprints footprints;
    for (int row = 0; row < kTileEdge; ++row)
        footprints.push_back(MakeFootprint(edge(row), edge(row + 1)));
    return footprints;
}

using Sum = std::array<float, 3>;

void Accumulate(Sum& sum, const Sum& value, float weight)
{
    for (std::size_t channel = 0; channel < sum.size(); ++channel)
        sum[channel] += value[channel] * weight;
}

Sum ToSum(const Colour& colour)
{
    return {static_cast<float>(colour.red),
            static_cast<float>(colour.green),
            static_cast<float>(colour.blue)};
}

Colour ToColour(const Sum& sum)
{
    const auto channel = [](float value) {
        return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0F, 255.0F)));
    };
    return {channel(sum[0]), channel(sum[1]), channel(sum[2])};
}

std::int64_t PastLastColumn(const Footprints& columns)
{
    const Footprint& last = columns.back();
    return last.first + static_cast<std::int64_t>(last.weights.size());
}

/// Longitudes go round the world.
int Wrap(std::int64_t column, int width)
{
    const std::int64_t rest = column % width;
    return static_cast<int>(rest < 0 ? rest + width : rest);
}

/// Beyond a pole there is more of the pole's row.
int ClampRow(std::int64_t row, int height)
{
    return static_cast<int>(std::clamp<std::int64_t>(row, 0, height - 1));
}

/// The mean over `rows` of every source column that the tile touches, from `firstColumn` on.
void MixRows(const Pixels& source,
             const Footprint& rows,
             std::int64_t firstColumn,
             std::vector<Sum>& mixed)
{
    std::fill(mixed.begin(), mixed.end(), Sum{});
    for (std::size_t i = 0; i < rows.weights.size(); ++i) {
        const int row = ClampRow(rows.first + static_cast<std::int64_t>(i), source.height);
        int column = Wrap(firstColumn, source.width);
        for (Sum& sum : mixed) {
            Accumulate(sum, ToSum(source.At(column, row)), rows.weights[i]);
            column = column + 1 == source.width ? 0 : column + 1;
        }
    }
}

Colour MixColumns(const std::vector<Sum>& mixed, const Footprint& columns, std::int64_t firstColumn)
{
    Sum sum{};
    auto position = static_cast<std::size_t>(columns.first - firstColumn);
    for (const float weight : columns.weights)
        Accumulate(sum, mixed[position++], weight);
    return ToColour(sum);
}

} // namespace

Marble::Marble(Pixels source) : m_source(std::move(source)) {}

Pixels Marble::Draw(const Grid& grid, const PixelWindow& window) const
{
    const Footprints columns = ColumnFootprints(grid, window, m_source.width);
    const Footprints rows = RowFootprints(grid, window, m_source.height);
    const std::int64_t firstColumn = columns.front().first;
    std::vector<Sum> mixed(static_cast<std::size_t>(PastLastColumn(columns) - firstColumn));

    Pixels tile(kTileEdge, kTileEdge);
    for (int row = 0; row < kTileEdge; ++row) {
        MixRows(m_source, rows[static_cast<std::size_t>(row)], firstColumn, mixed);
        for (int column = 0; column < kTileEdge; ++column)
            tile.At(column, row) =
                MixColumns(mixed, columns[static_cast<std::size_t>(column)], firstColumn);
    }
    return tile;
}

} // namespace KxOrigin
