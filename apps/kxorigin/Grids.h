// SPDX-License-Identifier: MIT
#pragma once

#include <compare>
#include <cstdint>

namespace KxOrigin {

constexpr int kMaxLevel = 22;
constexpr int kTileEdge = 256; ///< pixels

/// A square plane that is cut into pixels: kTileEdge x 2^level of them a side.
///
/// Positions on it run from 0 at the west edge to 1 at the east edge, and from 0 at the north edge
/// to 1 at the south edge. Longitude depends on the position across alone, latitude on the position
/// down alone, so that a tile costs one evaluation for each of its columns and rows.
/// Threads: grids hold no state; share them freely.
class Grid
{
public:
    virtual ~Grid() = default;

    /// Degrees east of a position across, [-180, 180].
    virtual double Longitude(double across) const = 0;
    /// Degrees north of a position down; beyond 90 and -90 where the plane holds no real latitude.
    virtual double Latitude(double down) const = 0;
    /// The inverse of Longitude.
    virtual double Across(double longitude) const = 0;
    /// The inverse of Latitude; below 0 or above 1 for latitudes that the plane does not hold.
    virtual double Down(double latitude) const = 0;

protected:
    Grid() = default;
    Grid(const Grid&) = default;
    Grid& operator=(const Grid&) = default;
};

/// Spherical Web Mercator: a sphere of 6378137 m, the square that holds all longitudes.
class WebMercatorGrid final : public Grid
{
public:
    double Longitude(double across) const override;
    double Latitude(double down) const override;
    double Across(double longitude) const override;
    double Down(double latitude) const override;
};

/// Longitude and latitude, both from -180 to 180 degrees; real latitudes fill the middle half.
class GeographicGrid final : public Grid
{
public:
    double Longitude(double across) const override;
    double Latitude(double down) const override;
    double Across(double longitude) const override;
    double Down(double latitude) const override;
};

enum class GridKind { WebMercator, Geographic };

/// The one grid of a kind; lives as long as the program.
const Grid& GridOf(GridKind kind);

/// Pixels along one side of any grid at a level of [0, kMaxLevel].
std::int64_t SidePixels(int level);

/// A square piece of a grid: kTileEdge pixels a side at one level.
/// `left` and `top` count pixels from the grid's north-west corner. They need not be multiples of
/// the edge, since some services start their rows elsewhere than the grid does.
struct PixelWindow
{
    int level = 0;
    std::int64_t left = 0;
    std::int64_t top = 0;

    // The check takes the comparison with 0 that the compiler makes for a null pointer.
    // NOLINTNEXTLINE(modernize-use-nullptr)
    friend auto operator<=>(const PixelWindow&, const PixelWindow&) = default;
};

} // namespace KxOrigin
