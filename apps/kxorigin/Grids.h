// SPDX-License-Identifier: MIT
#pragma once

#include <KxMath.h>

#include <compare>
#include <cstdint>

namespace KxOrigin {

constexpr int kMaxLevel = 22;
constexpr int kTileEdge = 256; ///< pixels

/// Degrees east and north.
struct Place
{
    double longitude = 0;
    double latitude = 0;
};

/// A square plane that is cut into pixels: kTileEdge x 2^level of them a side.
///
/// Positions on it run from 0 at the west edge to 1 at the east edge, and from 0 at the north edge
/// to 1 at the south edge; windows may reach beyond. Degrees are those of the grid's own datum,
/// where longitude depends on the position across alone and latitude on the position down alone.
/// WindowMap tells where that is on the ground.
/// Threads: grids do not change; share them freely.
class Grid
{
public:
    virtual ~Grid() = default;

    /// What the plane's degrees are counted in.
    KxC::KxDatum Datum() const { return m_datum; }
    /// The latitude up to which the plane has a map, degrees north and south.
    virtual double MaxLatitude() const { return 90; }

    /// Degrees east of a position across, [-180, 180].
    virtual double Longitude(double across) const = 0;
    /// Degrees north of a position down; beyond 90 and -90 where the plane holds no real latitude.
    virtual double Latitude(double down) const = 0;
    /// The inverse of Longitude.
    virtual double Across(double longitude) const = 0;
    /// The inverse of Latitude; below 0 or above 1 for latitudes that the plane does not hold.
    virtual double Down(double latitude) const = 0;

    /// Longitude and latitude at once, and exact where the one depends a little on the other.
    virtual Place At(double across, double down) const;
    /// Whether the plane has a map there.
    bool Holds(double longitude, double latitude) const;
    /// Across; the same everywhere, or nearly so.
    double PixelsPerDegree(int level) const;

protected:
    explicit Grid(KxC::KxDatum datum) : m_datum(datum) {}
    Grid(const Grid&) = default;
    Grid& operator=(const Grid&) = default;

private:
    KxC::KxDatum m_datum;
};

/// Spherical Web Mercator: a sphere of 6378137 m, the square that holds all longitudes.
class WebMercatorGrid final : public Grid
{
public:
    explicit WebMercatorGrid(KxC::KxDatum datum) : Grid(datum) {}

    double Longitude(double across) const override;
    double Latitude(double down) const override;
    double Across(double longitude) const override;
    double Down(double latitude) const override;
};

/// Longitude and latitude, both from -180 to 180 degrees; real latitudes fill the middle half.
class GeographicGrid final : public Grid
{
public:
    GeographicGrid() : Grid(KxC::KxDatum_WGS84) {}

    double Longitude(double across) const override;
    double Latitude(double down) const override;
    double Across(double longitude) const override;
    double Down(double latitude) const override;
};

/// The Baidu plane on BD-09, where a pixel of level 18 is a metre, in a square of 2^26 m about the
/// plane's origin: tiles of level z are 2^(26 - z) m wide, and the origin is a corner of four.
/// The map ends at 180 degrees east and west and 74 degrees north and south.
class BaiduGrid final : public Grid
{
public:
    static constexpr double kSideMetres = 67108864;
    /// Half the map's width and height, plane metres.
    static constexpr double kHalfWidth = 20037726.37;
    static constexpr double kHalfHeight = 12474104.18;

    BaiduGrid() : Grid(KxC::KxDatum_BD09) {}

    double MaxLatitude() const override { return KxC::KxMath::kMaxPlaneLatitude; }
    double Longitude(double across) const override;
    double Latitude(double down) const override;
    double Across(double longitude) const override;
    double Down(double latitude) const override;
    Place At(double across, double down) const override;
};

enum class GridKind { WebMercator, WebMercatorGcj02, WebMercatorBd09, Geographic, Baidu };

/// The one grid of a kind; lives as long as the program.
const Grid& GridOf(GridKind kind);

/// Pixels along one side of any grid at a level of [0, kMaxLevel].
std::int64_t SidePixels(int level);

/// A square piece of a grid at one level.
/// `left` and `top` count pixels from the grid's north-west corner. They need not be multiples of
/// the edge, since some services start their rows elsewhere than the grid does.
struct PixelWindow
{
    int level = 0;
    std::int64_t left = 0;
    std::int64_t top = 0;
    int edge = kTileEdge; ///< pixels a side

    // The check takes the comparison with 0 that the compiler makes for a null pointer.
    // NOLINTNEXTLINE(modernize-use-nullptr)
    friend auto operator<=>(const PixelWindow&, const PixelWindow&) = default;
};

} // namespace KxOrigin
