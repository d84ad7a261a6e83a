// SPDX-License-Identifier: MIT
#include "PixelMap.h"

#include "KxMath.h"
#include "PositionGrid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

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

/// Pixels of the raster for those of a tile, along one axis.
using Line = std::array<int, kTileSide>;

/// The least and the greatest of the indexes that are on the raster.
struct Span
{
    int m_first = std::numeric_limits<int>::max();
    int m_last = PixelMap::kOutside;

    void Take(int index)
    {
        m_first = std::min(m_first, index);
        m_last = std::max(m_last, index);
    }
    /// @return true when all of them are on the raster
    bool TakeAll(const Line& line)
    {
        bool isFull = true;
        for (const int index : line)
            if (index != PixelMap::kOutside)
                Take(index);
            else
                isFull = false;
        return isFull;
    }
    int Length() const { return m_last - m_first + 1; }
};

class MapMaker
{
public:
    MapMaker(const Georeference& georeference, const RasterSize& full, const RasterSize& chosen)
        : m_georeference(georeference),
          m_columnIndex(full.m_width, chosen.m_width, georeference.Turn()),
          m_rowIndex(full.m_height, chosen.m_height, std::numeric_limits<double>::infinity())
    {
    }

    void FillEven(const TileCentres& centres);
    void FillAny(const TileCentres& centres, double tolerance);
    PixelMap Finish();

private:
    Line LineOf(const TileCentres& centres,
                const AxisIndex& axis,
                const KxPoint3d& direction,
                double KxPoint3d::*coordinate) const;
    void Set(std::size_t at, int column, int row)
    {
        const bool isOutside = column == PixelMap::kOutside || row == PixelMap::kOutside;
        m_map.m_columns[at] = isOutside ? PixelMap::kOutside : column;
        m_map.m_rows[at] = isOutside ? PixelMap::kOutside : row;
        if (isOutside) {
            m_map.m_isFull = false;
            return;
        }
        m_columns.Take(column);
        m_rows.Take(row);
    }

    const Georeference& m_georeference;
    AxisIndex m_columnIndex;
    AxisIndex m_rowIndex;
    PixelMap m_map;
    Span m_columns;
    Span m_rows;
};

/// Columns and rows of the raster depend on those of the tile alone.
void MapMaker::FillEven(const TileCentres& centres)
{
    // A column's longitude with a latitude that exists, a row's latitude with some longitude.
    const Line columns = LineOf(centres, m_columnIndex, {1, 0, 0}, &KxPoint3d::x);
    const Line rows = LineOf(centres, m_rowIndex, {0, 1, 0}, &KxPoint3d::y);
    m_map.m_isEven = true;
    m_map.m_columns.assign(columns.begin(), columns.end());
    m_map.m_rows.assign(rows.begin(), rows.end());
    const bool hasAllColumns = m_columns.TakeAll(columns);
    m_map.m_isFull = m_rows.TakeAll(rows) && hasAllColumns; // both look at theirs
}

/// The raster's pixels along one axis of the tile.
Line MapMaker::LineOf(const TileCentres& centres,
                      const AxisIndex& axis,
                      const KxPoint3d& direction,
                      double KxPoint3d::*coordinate) const
{
    std::array<KxPoint3d, kTileSide> places;
    for (int i = 0; i < kTileSide; ++i) {
        const KxPoint3d place = centres.At(i, i);
        places[static_cast<std::size_t>(i)] = {place.x * direction.x, place.y * direction.y, 0};
    }
    m_georeference.ToPixels(places.data(), kTileSide);
    Line line;
    std::transform(places.begin(), places.end(), line.begin(), [&](const KxPoint3d& place) {
        return axis.Of(place.*coordinate);
    });
    return line;
}

void MapMaker::FillAny(const TileCentres& centres, double tolerance)
{
    m_map.m_columns.resize(kTilePixels);
    m_map.m_rows.resize(kTilePixels);
    FillPositions(
        m_georeference, centres, tolerance, [this](int row, int column, double x, double y) {
            Set(static_cast<std::size_t>(row) * kTileSide + static_cast<std::size_t>(column),
                m_columnIndex.Of(x),
                m_rowIndex.Of(y));
        });
}

PixelMap MapMaker::Finish()
{
    m_map.m_isEmpty = m_rows.m_last == PixelMap::kOutside || m_columns.m_last == PixelMap::kOutside;
    if (!m_map.m_isEmpty)
        m_map.m_window = {m_columns.m_first, m_rows.m_first, m_columns.Length(), m_rows.Length()};
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
        constexpr double kTolerance = 1.0 / 1024; // of a pixel that is read
        maker.FillAny(centres, kTolerance * full.m_width / chosen.m_width);
    }
    return maker.Finish();
}

} // namespace KxC
