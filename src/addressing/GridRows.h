// SPDX-License-Identifier: MIT
#pragma once

#include "KxShiftedRows.h"
#include "TileGrid.h"

#include <vector>

namespace KxC {

/// Places in a shifted or a Baidu grid for rows of positions that share their x: what GetColRow
/// gives for each, to within a tolerance, at a small part of the cost.
class GridRows
{
public:
    /// @param grid  Web Mercator or Baidu
    GridRows(const SourceGrid& grid, const std::vector<double>& xs);

    /// Computes the row of positions at y.
    void MoveTo(double y);

    /// The places of the row in tiles. NaN where the place is not known, minus infinity where the
    /// grid has none.
    const std::vector<double>& Columns() const { return m_columns; }
    const std::vector<double>& Rows() const { return m_rows; }
    /// The most by which a place differs from GetColRow's, in tiles; NaN where that is not known.
    double ColumnTolerance() const { return m_columnTolerance; }
    double RowTolerance() const { return m_rowTolerance; }

private:
    void ToWebMercator(double latitude);
    void ToBaidu(double latitude);

    SourceGrid m_grid;
    TileGrid m_kind;
    std::vector<double> m_longitudes; ///< radians
    KxShiftedRows m_shifts;
    std::vector<double> m_columns;
    std::vector<double> m_rows;
    std::vector<double> m_planeLongitudes; ///< degrees
    std::vector<double> m_planeLatitudes;
    double m_columnTolerance = 0;
    double m_rowTolerance = 0;
};

} // namespace KxC
