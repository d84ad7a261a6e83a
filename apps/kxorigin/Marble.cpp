// SPDX-License-Identifier: MIT
#include "Marble.h"

#include "WindowMap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace KxOrigin {

namespace {

/// A stretch of the source's columns or rows, in pixels; not shorter than one.
struct Stretch
{
    double from;
    double to;

    /// @param start, end  widened to one pixel about their centre where they are nearer
    static Stretch Of(double start, double end)
    {
        if (end - start >= 1)
            return {start, end};
        const double centre = (start + end) / 2;
        return {centre - 0.5, centre + 0.5};
    }

    std::int64_t First() const { return static_cast<std::int64_t>(std::floor(from)); }
    std::int64_t Last() const { return static_cast<std::int64_t>(std::ceil(to)); }
    /// How much of the stretch a source pixel is.
    float Weight(std::int64_t pixel) const
    {
        const auto start = static_cast<double>(pixel);
        const double share = std::min(start + 1, to) - std::max(start, from);
        return static_cast<float>(share / (to - from));
    }
};

using Sum = std::array<float, 3>;

void Accumulate(Sum& sum, const Colour& colour, float weight)
{
    sum[0] += static_cast<float>(colour.red) * weight;
    sum[1] += static_cast<float>(colour.green) * weight;
    sum[2] += static_cast<float>(colour.blue) * weight;
}

Colour ToColour(const Sum& sum)
{
    const auto channel = [](float value) {
        return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0F, 255.0F)));
    };
    return {channel(sum[0]), channel(sum[1]), channel(sum[2])};
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

Colour Mean(const Pixels& source, const Stretch& columns, const Stretch& rows)
{
    Sum sum{};
    for (std::int64_t row = rows.First(); row < rows.Last(); ++row) {
        const float share = rows.Weight(row);
        const Colour* line = &source.At(0, ClampRow(row, source.height));
        int at = Wrap(columns.First(), source.width);
        for (std::int64_t column = columns.First(); column < columns.Last(); ++column) {
            Accumulate(sum, line[at], share * columns.Weight(column));
            at = at + 1 == source.width ? 0 : at + 1;
        }
    }
    return ToColour(sum);
}

using Degrees = std::vector<double>;

/// One row of a tile.
struct RowEdges
{
    Degrees longitudes; ///< of the pixels' west and east edges
    Degrees north;      ///< latitudes of their north edges
    Degrees south;      ///< latitudes of their south edges
};

Colour DrawPixel(const Pixels& source, const RowEdges& edges, std::size_t column)
{
    const auto columnOf = [&](double longitude) { return (longitude + 180) / 360 * source.width; };
    const auto rowOf = [&](double latitude) {
        return (90 - std::clamp(latitude, -90.0, 90.0)) / 180 * source.height;
    };
    return Mean(
        source,
        Stretch::Of(columnOf(edges.longitudes[column]), columnOf(edges.longitudes[column + 1])),
        Stretch::Of(rowOf(edges.north[column]), rowOf(edges.south[column])));
}

} // namespace

Marble::Marble(Pixels source) : m_source(std::move(source)) {}

Pixels Marble::Draw(const Grid& grid, const PixelWindow& window) const
{
    const WindowMap map(grid, window);
    const auto edge = static_cast<std::size_t>(window.edge);
    RowEdges edges{Degrees(edge + 1), Degrees(edge), Degrees(edge)};
    map.LatitudesAtMiddles(0, edges.south);

    Pixels tile(window.edge, window.edge);
    for (int row = 0; row < window.edge; ++row) {
        edges.north.swap(edges.south);
        map.LatitudesAtMiddles(row + 1, edges.south);
        map.LongitudesAtEdges(row + 0.5, edges.longitudes);
        const bool isOnMap = map.HoldsRow(row + 0.5);
        for (int column = 0; column < window.edge; ++column)
            tile.At(column, row) =
                isOnMap && map.HoldsColumn(column)
                    ? DrawPixel(m_source, edges, static_cast<std::size_t>(column))
                    : kBeyondMap;
    }
    return tile;
}

} // namespace KxOrigin
