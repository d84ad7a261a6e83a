// SPDX-License-Identifier: MIT
#include "TileGrid.h"

#include "GridConstants.h"
#include "KxMath.h"
#include "KxTileFetcher.h"
#include "SourceTexts.h"
#include "TileNumbers.h"

#include <cmath>

namespace KxC {

namespace {

/// Where no tile is: callers take negative indices for places outside the grid.
constexpr double kOutside = -1.0;

} // namespace

TileGrid GridOfScheme(int scheme)
{
    switch (scheme) {
    case kSchemeGoogleMercator:
    case kSchemeBingMap:
    case kSchemeWebMercatorWgs84:
        return TileGrid::WebMercator;
    case kSchemeBaidu:
    case kSchemeBaiduPlain:
        return TileGrid::Baidu;
    default:
        return TileGrid::Geographic;
    }
}

GridPosition SourceGrid::operator()(double x, double y) const
{
    GridPosition position{};
    KxTileFetcher::GetColRow(position.m_col, position.m_row, m_scheme, x, y, m_level, m_datum);
    return position;
}

double TileSpan(int level)
{
    return kWorldWidth / TilesPerAxis(level);
}

Extent ExtentOf(const WebMercatorTile& tile)
{
    const double span = TileSpan(tile.m_level);
    const double minX = tile.m_col * span - kHalfWorld;
    const double maxY = kHalfWorld - tile.m_row * span;
    return {minX, maxY - span, minX + span, maxY};
}

int SourceLevel(int level, int tileSize, int sourceTileSize)
{
    if (tileSize <= sourceTileSize)
        return level;
    // Single precision up to the logarithm: it decides where the halves between levels fall.
    const float ratio = static_cast<float>(tileSize) / static_cast<float>(sourceTileSize);
    const double levels = static_cast<double>(std::log(ratio)) / std::log(2.0);
    return level + static_cast<int>(std::round(levels));
}

void KxTileFetcher::GetWMColRow(
    double& column, double& row, double longitude, double latitude, int level, int deviationType)
{
    KxMath::GetDeviationCoord(deviationType, longitude, latitude, longitude, latitude);
    const double span = SpanInRadians(level);
    column = (longitude + kPi) / span;
    const double tangent = std::tan(latitude * 0.5 + kQuarterPi);
    row = tangent > 0 ? (std::log(tangent) + kPi) / span : kOutside;
}

void KxTileFetcher::GetBaiDuMapColRow(
    double& column, double& row, double longitude, double latitude, int level, int deviationType)
{
    KxMath::GetDeviationCoord(deviationType, longitude, latitude, longitude, latitude);
    double planeX = 0;
    double planeY = 0;
    if (KxMath::ConvertLL2MC(
            longitude * kDegreesPerRadian, latitude * kDegreesPerRadian, planeX, planeY) == 0) {
        column = kOutside;
        row = kOutside;
        return;
    }
    const double pixelsPerUnit = BaiduPixelsPerUnit(level);
    column = pixelsPerUnit * planeX * kBaiduTilesPerPixel;
    row = pixelsPerUnit * planeY * kBaiduTilesPerPixel;
}

void KxTileFetcher::GetColRow(
    double& column, double& row, int scheme, double x, double y, int level, int deviationType)
{
    const KxPoint2d place = KxMath::WebMecator2LatLon(x, y);
    switch (GridOfScheme(scheme)) {
    case TileGrid::WebMercator:
        return GetWMColRow(column, row, place.x, place.y, level, deviationType);
    case TileGrid::Baidu:
        return GetBaiDuMapColRow(column, row, place.x, place.y, level, deviationType);
    case TileGrid::Geographic:
        // No service shifts this grid's datum, whatever its record says.
        const double span = SpanInRadians(level);
        column = (place.x + kPi) / span;
        row = (place.y + kPi) / span;
    }
}

} // namespace KxC
