// SPDX-License-Identifier: MIT
#include "WindowMap.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace KxOrigin {

namespace {

constexpr int kCoarseCell = 8; ///< pixels
constexpr int kFineCell = 2;
constexpr double kDegree = std::numbers::pi / 180;

Place ToGround(KxC::KxDatum datum, const Place& shifted)
{
    if (datum == KxC::KxDatum_WGS84)
        return shifted;
    Place ground;
    KxC::KxMath::RemoveDeviationCoord(datum,
                                      shifted.longitude * kDegree,
                                      shifted.latitude * kDegree,
                                      ground.longitude,
                                      ground.latitude);
    return {ground.longitude / kDegree, ground.latitude / kDegree};
}

Place FromGround(KxC::KxDatum datum, const Place& ground)
{
    if (datum == KxC::KxDatum_WGS84)
        return ground;
    Place shifted;
    KxC::KxMath::GetDeviationCoord(datum,
                                   ground.longitude * kDegree,
                                   ground.latitude * kDegree,
                                   shifted.longitude,
                                   shifted.latitude);
    return {shifted.longitude / kDegree, shifted.latitude / kDegree};
}

Place Mix(const Place& a, const Place& b, double share)
{
    return {std::lerp(a.longitude, b.longitude, share), std::lerp(a.latitude, b.latitude, share)};
}

} // namespace

WindowMap::WindowMap(const Grid& grid, const PixelWindow& window) : m_grid(grid), m_window(window)
{
    for (int x = 0; x <= window.edge; ++x)
        m_longitudes.push_back(grid.Longitude(Across(x)));
    for (int column = 0; column < window.edge; ++column)
        m_heldColumns.push_back(grid.Holds(grid.Longitude(Across(column + 0.5)), 0));
    if (grid.Datum() == KxC::KxDatum_WGS84)
        return;
    MakeMesh(kCoarseCell);
    if (!IsMostlySmooth())
        MakeMesh(kFineCell);
}

double WindowMap::Across(double x) const
{
    return (static_cast<double>(m_window.left) + x) /
           static_cast<double>(SidePixels(m_window.level));
}

double WindowMap::Down(double y) const
{
    return (static_cast<double>(m_window.top) + y) /
           static_cast<double>(SidePixels(m_window.level));
}

/// As LongitudesAtEdges and LatitudesAtMiddles have them before they add the shift.
Place WindowMap::PlaneDegrees(double x, double y) const
{
    return {m_grid.Longitude(Across(x)), m_grid.Latitude(Down(y))};
}

Place WindowMap::ExactPlace(double x, double y) const
{
    const Place plane = m_grid.At(Across(x), Down(y));
    return ToGround(m_grid.Datum(),
                    {std::clamp(plane.longitude, -180.0, 180.0),
                     std::clamp(plane.latitude, -m_grid.MaxLatitude(), m_grid.MaxLatitude())});
}

/// What is to be added to PlaneDegrees. Nothing beyond the map: no one asks there.
Place WindowMap::ExactShift(double x, double y) const
{
    const Place plane = PlaneDegrees(x, y);
    if (!m_grid.Holds(plane.longitude, plane.latitude))
        return {};
    const Place ground = ExactPlace(x, y);
    return {ground.longitude - plane.longitude, ground.latitude - plane.latitude};
}

Place& WindowMap::Node(int column, int row)
{
    return m_nodes[static_cast<std::size_t>(row * (m_cells + 1) + column)];
}

/// @param cellEdge  divides the window's
void WindowMap::MakeMesh(int cellEdge)
{
    m_cellEdge = cellEdge;
    m_cells = m_window.edge / cellEdge;
    const auto cells = static_cast<std::size_t>(m_cells);
    m_nodes.resize((cells + 1) * (cells + 1));
    for (int row = 0; row <= m_cells; ++row) {
        for (int column = 0; column <= m_cells; ++column)
            Node(column, row) = ExactShift(column * cellEdge, row * cellEdge);
    }
    m_rough.clear();
    for (int row = 0; row < m_cells; ++row) {
        for (int column = 0; column < m_cells; ++column)
            m_rough.push_back(IsRough(column, row));
    }
}

bool WindowMap::IsMostlySmooth() const
{
    const auto rough = std::count(m_rough.begin(), m_rough.end(), true);
    return rough * 4 < static_cast<std::ptrdiff_t>(m_rough.size());
}

/// Whether interpolation fails in the cell's middle. A step in the shift, wherever it runs through
/// the cell, is off there by a quarter of its height at least; so kMapTolerance holds everywhere.
bool WindowMap::IsRough(int column, int row) const
{
    constexpr double kTolerance = kMapTolerance / 5;
    const double x = column * m_cellEdge;
    const double y = row * m_cellEdge;
    const auto shiftAt = [&](int right, int down) {
        return m_nodes[static_cast<std::size_t>((row + down) * (m_cells + 1) + column + right)];
    };
    const Place mixed =
        Mix(Mix(shiftAt(0, 0), shiftAt(1, 0), 0.5), Mix(shiftAt(0, 1), shiftAt(1, 1), 0.5), 0.5);
    const Place exact = ExactShift(x + m_cellEdge / 2.0, y + m_cellEdge / 2.0);
    const Place northWest = PlaneDegrees(x, y);
    const Place southEast = PlaneDegrees(x + m_cellEdge, y + m_cellEdge);
    const double perPixel = kTolerance / m_cellEdge;
    return std::abs(mixed.longitude - exact.longitude) >
               (southEast.longitude - northWest.longitude) * perPixel ||
           std::abs(mixed.latitude - exact.latitude) >
               (northWest.latitude - southEast.latitude) * perPixel;
}

/// Adds the shift of one axis to degrees at x = start, start + 1 and so on.
void WindowMap::AddShifts(Axis axis, double start, double y, std::span<double> degrees) const
{
    for (int column = 0; column < m_cells; ++column) {
        const auto from = static_cast<std::size_t>(column * m_cellEdge);
        // The last cell takes what lies on its far edge as well.
        const std::size_t count =
            column + 1 == m_cells ? degrees.size() - from : static_cast<std::size_t>(m_cellEdge);
        AddCellShifts(
            axis, column, static_cast<double>(from) + start, y, degrees.subspan(from, count));
    }
}

void WindowMap::AddCellShifts(
    Axis axis, int column, double start, double y, std::span<double> degrees) const
{
    const int row = std::min(static_cast<int>(y) / m_cellEdge, m_cells - 1);
    if (m_rough[static_cast<std::size_t>(row * m_cells + column)]) {
        for (std::size_t i = 0; i < degrees.size(); ++i)
            degrees[i] += ExactShift(start + static_cast<double>(i), y).*axis;
        return;
    }
    const auto* north = &m_nodes[static_cast<std::size_t>(row * (m_cells + 1) + column)];
    const auto* south = north + m_cells + 1;
    const double down = (y - row * m_cellEdge) / m_cellEdge;
    const double west = std::lerp(north[0].*axis, south[0].*axis, down);
    const double east = std::lerp(north[1].*axis, south[1].*axis, down);
    for (std::size_t i = 0; i < degrees.size(); ++i) {
        const double x = start + static_cast<double>(i) - column * m_cellEdge;
        degrees[i] += west + (east - west) * (x / m_cellEdge);
    }
}

void WindowMap::LongitudesAtEdges(double y, std::span<double> longitudes) const
{
    std::copy_n(m_longitudes.begin(), longitudes.size(), longitudes.begin());
    AddShifts(&Place::longitude, 0, y, longitudes);
}

void WindowMap::LatitudesAtMiddles(double y, std::span<double> latitudes) const
{
    std::fill(latitudes.begin(), latitudes.end(), m_grid.Latitude(Down(y)));
    AddShifts(&Place::latitude, 0.5, y, latitudes);
}

bool WindowMap::FindPixel(const Place& ground, std::int64_t& column, std::int64_t& row) const
{
    const Place plane = FromGround(m_grid.Datum(), ground);
    if (!m_grid.Holds(plane.longitude, plane.latitude))
        return false;
    const auto side = static_cast<double>(SidePixels(m_window.level));
    column = static_cast<std::int64_t>(std::floor(m_grid.Across(plane.longitude) * side));
    row = static_cast<std::int64_t>(std::floor(m_grid.Down(plane.latitude) * side));
    return true;
}

bool WindowMap::HoldsColumn(int column) const
{
    return m_heldColumns[static_cast<std::size_t>(column)];
}

bool WindowMap::HoldsRow(double y) const
{
    return m_grid.Holds(0, m_grid.Latitude(Down(y)));
}

} // namespace KxOrigin
