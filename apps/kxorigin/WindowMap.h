// SPDX-License-Identifier: MIT
#pragma once

#include "Grids.h"

#include <span>
#include <vector>

namespace KxOrigin {

/// The most by which WindowMap may misplace a point, pixels.
constexpr double kMapTolerance = 0.05;

/// Where on the ground the points of a window lie: longitudes and latitudes on WGS 84, in degrees.
///
/// What a grid's datum shifts is computed exactly on a mesh of every eighth pixel and interpolated
/// between; on a mesh of every second pixel where BD-09's waves are but a few pixels long. Where
/// the mesh is too coarse, as along the border of the area that GCJ-02 shifts, every point is
/// computed exactly. Points of the window count pixels from its north-west corner.
class WindowMap
{
public:
    /// @param grid  must outlive the map
    WindowMap(const Grid& grid, const PixelWindow& window);

    /// Longitudes along a row at the edges of its pixels.
    /// @param y           [0, edge]
    /// @param longitudes  edge + 1 of them
    void LongitudesAtEdges(double y, std::span<double> longitudes) const;
    /// Latitudes along a row at the middles of its pixels.
    /// @param y          [0, edge]
    /// @param latitudes  edge of them
    void LatitudesAtMiddles(double y, std::span<double> latitudes) const;

    /// The exact place of any point, in the window or about it. Beyond the grid's map, the nearest
    /// place of it.
    Place ExactPlace(double x, double y) const;
    /// The pixel of the grid that contains a place of WGS 84; nothing where the grid has no map.
    /// @return false when there is none
    bool FindPixel(const Place& ground, std::int64_t& column, std::int64_t& row) const;

    /// Whether the middle of a column of pixels lies on the grid's map.
    bool HoldsColumn(int column) const;
    /// Whether a row does; a pixel does where both do.
    bool HoldsRow(double y) const;

private:
    using Axis = double Place::*;

    double Across(double x) const;
    double Down(double y) const;
    Place PlaneDegrees(double x, double y) const;
    Place ExactShift(double x, double y) const;
    Place& Node(int column, int row);
    void MakeMesh(int cellEdge);
    bool IsMostlySmooth() const;
    bool IsRough(int column, int row) const;
    void AddShifts(Axis axis, double start, double y, std::span<double> degrees) const;
    void
    AddCellShifts(Axis axis, int column, double start, double y, std::span<double> degrees) const;

    const Grid& m_grid;
    PixelWindow m_window;
    std::vector<double> m_longitudes; ///< of the plane, at the pixels' edges
    std::vector<bool> m_heldColumns;
    int m_cellEdge = 0;         ///< of the mesh, pixels
    int m_cells = 0;            ///< along one side of it; 0 where nothing is shifted
    std::vector<Place> m_nodes; ///< shifts: ground - plane
    std::vector<bool> m_rough;  ///< cells that the mesh does not describe
};

} // namespace KxOrigin
