// SPDX-License-Identifier: MIT
#include "PixelMap.h"

#include "KxMath.h"
#include "PositionGrid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace KxC {

namespace {

constexpr std::size_t kTilePixels = std::size_t{kTileSide} * kTileSide;

/// A position on an edge between pixels belongs to the one behind it, also where rounding put it a
/// trifle before.
constexpr double kEdge = 1e-10;

/// From positions on one axis of the full raster to pixels of the chosen resolution.
class AxisIndex
{
public:
    AxisIndex(int full, int chosen, double turn)
        : m_full(full), m_scale(static_cast<double>(chosen) / full), m_last(chosen - 1),
          m_turn(turn)
    {
    }

    /// @return PixelMap::kOutside for what is not on the raster, NaN included
    int Of(double position) const
    {
        double inside = position + kEdge;
        if (inside < 0)
            inside += m_turn;
        else if (inside >= m_full)
            inside -= m_turn;
        if (!(inside >= 0 && inside < m_full))
            return PixelMap::kOutside;
        return std::min(static_cast<int>(inside * m_scale), m_last);
    }

private:
    double m_full;
    double m_scale;
    int m_last;
    double m_turn;
};

class MapMaker
{
public:
    MapMaker(const Georeference& georeference, const RasterSize& full, const RasterSize& chosen)
        : m_georeference(georeference), m_columns(full.m_width, chosen.m_width, Turn()),
          m_rows(full.m_height, chosen.m_height, std::numeric_limits<double>::infinity())
    {
        m_map.m_columns.resize(kTilePixels);
        m_map.m_rows.resize(kTilePixels);
    }

    void FillEven(const TileCentres& centres);
    void FillAny(const TileCentres& centres, double tolerance);
    PixelMap Finish();

private:
    double Turn() const { return m_georeference.Turn(); }
    void Set(std::size_t at, int column, int row)
    {
        const bool isOutside = column == PixelMap::kOutside || row == PixelMap::kOutside;
        m_map.m_columns[at] = isOutside ? PixelMap::kOutside : column;
        m_map.m_rows[at] = isOutside ? PixelMap::kOutside : row;
    }

    const Georeference& m_georeference;
    AxisIndex m_columns;
    AxisIndex m_rows;
    PixelMap m_map;
};

/// Columns and rows of the raster depend on those of the tile alone.
void MapMaker::FillEven(const TileCentres& centres)
{
    std::array<KxPoint3d, kTileSide> places;
    for (int i = 0; i < kTileSide; ++i) // a column's longitude with a latitude that exists
        places[static_cast<std::size_t>(i)] = {centres.At(i, i).x, 0, 0};
    m_georeference.ToPixels(places.data(), kTileSide);
    std::array<int, kTileSide> columns;
    std::transform(places.begin(), places.end(), columns.begin(), [this](const KxPoint3d& place) {
        return m_columns.Of(place.x);
    });
    for (int i = 0; i < kTileSide; ++i)
        places[static_cast<std::size_t>(i)] = {0, centres.At(i, i).y, 0};
    m_georeference.ToPixels(places.data(), kTileSide);
    std::size_t at = 0;
    for (const KxPoint3d& place : places) {
        const int row = m_rows.Of(place.y);
        for (const int column : columns)
            Set(at++, column, row);
    }
}

void MapMaker::FillAny(const TileCentres& centres, double tolerance)
{
    FillPositions(
        m_georeference, centres, tolerance, [this](int row, int column, double x, double y) {
            Set(static_cast<std::size_t>(row) * kTileSide + static_cast<std::size_t>(column),
                m_columns.Of(x),
                m_rows.Of(y));
        });
}

PixelMap MapMaker::Finish()
{
    const auto [least, greatest] = std::minmax_element(m_map.m_rows.begin(), m_map.m_rows.end());
    m_map.m_isFull = *least != PixelMap::kOutside;
    m_map.m_isEmpty = *greatest == PixelMap::kOutside;
    return std::move(m_map);
}

/// The larger of a step's two lengths along the axes of the tile, as far as the other one is not
/// less than half of it; else twice the other one: where columns crowd together, as they do toward
/// the poles, reading as fine as they lie would read far more than is seen.
double
ReductionAt(const Georeference& georeference, const TileCentres& centres, int row, int column)
{
    const KxPoint3d place = centres.At(row, column);
    std::array<KxPoint3d, 3> points = {
        place, {place.x + centres.m_step, place.y, 0}, {place.x, place.y + centres.m_step, 0}};
    georeference.ToPixels(points.data(), 3);
    const double along = std::hypot(points[1].x - points[0].x, points[1].y - points[0].y);
    const double across = std::hypot(points[2].x - points[0].x, points[2].y - points[0].y);
    return std::max(std::min(along, across), std::max(along, across) / 2);
}

} // namespace

TileCentres CentresOf(int level, int row, int column)
{
    KxRect2d rect;
    KxMath::CalcTileBounds(rect, level, row, column);
    const double step = std::ldexp(360.0, -level) / kTileSide;
    return {rect.m_dLeft + step / 2, rect.m_dBottom + step / 2, step};
}

double FindReduction(const Georeference& georeference, const TileCentres& centres)
{
    double least = std::numeric_limits<double>::infinity();
    for (const int row : {8, 64, 128, 192, 248})
        for (const int column : {8, 128, 248}) {
            const double reduction = ReductionAt(georeference, centres, row, column);
            if (reduction > 0) // false for NaN
                least = std::min(least, reduction);
        }
    return std::isfinite(least) ? least : 1;
}

PixelMap MakePixelMap(const Georeference& georeference,
                      const TileCentres& centres,
                      const RasterSize& full,
                      const RasterSize& chosen)
{
    MapMaker maker(georeference, full, chosen);
    if (georeference.IsEven()) {
        maker.FillEven(centres);
    } else {
        constexpr double kTolerance = 1.0 / 256; // of a pixel that is read
        maker.FillAny(centres, kTolerance * full.m_width / chosen.m_width);
    }
    return maker.Finish();
}

} // namespace KxC
