// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxPoint.h"
#include "KxRect2d.h"

namespace KxC {

/// Datum codes, as tile sources carry them.
enum KxDatum : int {
    KxDatum_WGS84 = 0,
    KxDatum_GCJ02 = 1,
    KxDatum_BD09 = 2,
};

/// Map mathematics: spherical Web Mercator, the GCJ-02 and BD-09 shifts, the Baidu plane, tile
/// bounds. Pure functions; any thread. Where results are references, callers may pass the same
/// variables as input and output.
/// Formulas and tables: docs/datums.md.
class KXCOMMON_API KxMath
{
public:
    /// Radius of the Web Mercator sphere, metres.
    static constexpr double kSphereRadius = 6378137.0;
    /// Half the edge of the Web Mercator square, metres: pi x kSphereRadius.
    static constexpr double kHalfWorld = 20037508.342789244;
    /// BD-09 latitude, degrees, up to which the Baidu plane is defined.
    static constexpr double kMaxPlaneLatitude = 74.0;

    /// @name Spherical Web Mercator
    /// @{

    /// Inverse: x / R, 2 atan(exp(y / R)) - pi / 2.
    /// @param x, y  metres
    /// @return longitude (x) and latitude (y) in radians
    static KxPoint2d WebMecator2LatLon(double x, double y);
    /// Forward: R lon, R ln tan(lat / 2 + pi / 4).
    /// @param lon, lat  radians; a latitude of +-pi/2 or beyond gives an infinite y of its sign
    /// @return metres
    static KxPoint2d LatLon2WebMecator(double lon, double lat);

    /// @}
    /// @name Datum shifts
    /// @{

    /// From WGS 84 into a shifted datum. GCJ-02 shifts nothing outside the box of longitude
    /// 72.004 to 137.8347 and latitude 0.8293 to 55.8271 degrees; BD-09's second step applies
    /// everywhere. NaN and infinities give NaN in both results where the datum is a shifted one.
    /// @param type      KxDatum; KxDatum_WGS84, and any other value, shifts nothing
    /// @param lon, lat  radians
    static void GetDeviationCoord(int type, double lon, double lat, double& outLon, double& outLat);
    /// From a shifted datum back to WGS 84, to the last digits where the shift can be undone: for
    /// every place whose shifted position is still in the box. Points of GCJ-02 outside the box are
    /// taken as unshifted. Always ends. NaN and infinities as above.
    /// @param type      KxDatum, as above
    /// @param lon, lat  radians
    static void
    RemoveDeviationCoord(int type, double lon, double lat, double& outLon, double& outLat);

    /// @}
    /// @name Baidu plane
    /// @{

    /// From BD-09 degrees to plane metres. Longitudes are wrapped into [-180, 180].
    /// @return 0 on NaN, infinities and beyond kMaxPlaneLatitude; the results are then as before
    static unsigned char ConvertLL2MC(double lon, double lat, double& x, double& y);
    /// From plane metres to BD-09 degrees, exactly undoing ConvertLL2MC (to 2e-11 degrees).
    /// Heights that lie between two of the plane's bands (1 cm to 15 m wide, at 15, 30, 45 and 60
    /// degrees) give the latitude of the border. Heights beyond kMaxPlaneLatitude, which
    /// ConvertLL2MC never gives, are answered to 0.015 degrees up to about 84 degrees.
    /// @return 0 on NaN, infinities and outside the plane's square; the results are then as before
    static unsigned char ConvertMC2LL(double x, double y, double& lon, double& lat);

    /// @}
    /// @name Tile bounds
    /// @{

    /// Bounds of a tile of the Web Mercator grid, metres.
    /// @param level       [0, 30]
    /// @param row         counted from the north, or from the south when `southToNorth` is nonzero
    static void CalcWMTileBounds(KxRect2d& rect, int level, int row, int col, int southToNorth);
    /// The same in degrees of longitude and latitude; the grid ends at exactly +-180 and at +-85.05
    /// or so.
    static void
    CalcWMTileLatLonBounds(KxRect2d& rect, int level, int row, int col, int southToNorth);
    /// Bounds of a tile of the geographic square grid, degrees. Rows count from the south, where
    /// "latitude" is -180.
    /// @param level  [0, 30]
    static void CalcTileBounds(KxRect2d& rect, int level, int row, int col);

    /// @}
};

} // namespace KxC
