// SPDX-License-Identifier: MIT
#include "serve/TileMaker.h"

#include "EarthSource.h"
#include "HostTile.h"
#include "KxImgUtility.h"
#include "KxMath.h"
#include "KxNetGetch.h"
#include "KxTileFetcher.h"
#include "SourceGrid.h"
#include "serve/DoubleTile.h"
#include "serve/Failure.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace KxTileHost::Serve {

namespace {

using KxC::KxNetGetch;
using KxC::KxTileFetcher;

constexpr char kDisk[] = "disk";

/// Tells how a tile came about: what the caches and the request layer noted meanwhile.
class Origin
{
public:
    Origin()
    {
        KxNetGetch::ClearLastRequestInfo();
        KxC::KxGeFetcher::ClearLastFetchInfo();
    }

    const char* CacheState() const
    {
        if (KxNetGetch::GetLastRequestInfo().m_nAttempts > 0)
            return "upstream";
        return Misses() == m_missesBefore ? "memory" : kDisk;
    }

private:
    static unsigned long long Misses()
    {
        return KxC::m_gWMTileDataCacheManager.GetThreadStatistics().m_nMisses;
    }

    unsigned long long m_missesBefore = Misses();
};

MadeTile Failed(const Source& source, int timeoutMs)
{
    Failure failure = DescribeLastFailure(source, timeoutMs);
    MadeTile made;
    made.m_outcome = failure.m_isNoTile    ? MadeTile::kNoTile
                     : failure.m_isTooSlow ? MadeTile::kTooSlow
                                           : MadeTile::kFailed;
    made.m_cause = std::move(failure.m_cause);
    return made;
}

MadeTile Delivered(std::unique_ptr<KxC::KxRawData> bytes, const char* cacheState)
{
    MadeTile made;
    const bool hasBytes = bytes != nullptr && bytes->GetSize() > 0;
    made.m_outcome = hasBytes ? MadeTile::kTile : MadeTile::kNoTile;
    if (hasBytes)
        made.m_bytes = std::move(bytes);
    made.m_cacheState = cacheState;
    return made;
}

/// Keeps on disk what a direct download brought, or that it brought nothing.
void Remember(const KxC::KxTSDParamItem& item, const HostTile& tile, const KxC::KxRawData& bytes)
{
    if (KxTileFetcher::m_sbLocalCacheUsed == 0)
        return;
    const int row = tile.RowFromSouth();
    if (bytes.GetSize() > 0)
        KxTileFetcher::SaveToLocalCache(
            item.m_strHashKey, tile.m_z, row, tile.m_x, bytes.GetData(), bytes.GetSize());
    else if (KxNetGetch::GetLastRequestInfo().m_result == KxC::NetError_NoData)
        KxTileFetcher::SaveNoDataInfoToLocalCache(item.m_strHashKey, tile.m_z, row, tile.m_x);
}

MadeTile FetchFromService(const Source& source,
                          KxC::KxTSDParamItem& item,
                          const HostTile& tile,
                          int timeoutMs)
{
    const Origin origin;
    KxC::KxRawData* fetched = nullptr;
    const unsigned char done = KxTileFetcher::FetchWMTile4(fetched,
                                                           &item,
                                                           tile.m_x,
                                                           tile.RowForDirectDownload(item),
                                                           tile.m_z,
                                                           item.m_nTileSize,
                                                           timeoutMs);
    std::unique_ptr<KxC::KxRawData> bytes(fetched);
    if (done == 0)
        return Failed(source, timeoutMs);
    if (bytes != nullptr)
        Remember(item, tile, *bytes);
    return Delivered(std::move(bytes), origin.CacheState());
}

/// The service's own tile, from the disk cache or from the service.
MadeTile FetchOwnTile(const Source& source, const HostTile& tile, int timeoutMs)
{
    KxC::KxTSDParamItem& item = *source.m_item;
    auto kept = std::make_unique<KxC::KxRawData>();
    const KxC::GetchResult known =
        KxTileFetcher::m_sbLocalCacheUsed == 0
            ? KxC::GetchResult_Unknown
            : KxTileFetcher::LoadFromLocalCache(
                  item.m_strHashKey, tile.m_z, tile.RowFromSouth(), tile.m_x, *kept);
    if (known == KxC::GetchResult_Unknown)
        return FetchFromService(source, item, tile, timeoutMs);
    kept->SetExt(KxC::KxImgUtility::TellImgExt(kept->GetData(), kept->GetSize()));
    return Delivered(std::move(kept), kDisk);
}

MadeTile FetchOwnEarthTile(const Source& source, const TileRequest& tile, int timeoutMs)
{
    const Origin origin;
    auto bytes = std::make_unique<KxC::KxRawData>();
    KxC::KxString info;
    const int row = (1 << tile.m_z) - 1 - tile.m_y;
    const KxC::NetError result =
        source.ItemOfDay(tile.m_day)
            ->m_pGeFetcher->FetchImageRawData(*bytes, tile.m_z, row, tile.m_x, info, 0);
    if (result == KxC::NetError_Failure)
        return Failed(source, timeoutMs);
    bytes->SetExt(KxC::KxImgUtility::TellImgExt(bytes->GetData(), bytes->GetSize()));
    return Delivered(std::move(bytes), origin.CacheState());
}

/// @param cut  stays null where the raster has nothing
/// @return false when it cannot be read
bool Cut(std::unique_ptr<KxC::KxRawData>& cut, const Source& source, const TileRequest& tile)
{
    KxC::KxRawData* bytes = nullptr;
    const unsigned char done = KxTileFetcher::FetchTileFromRaster(
        bytes, source.m_path.c_str(), tile.m_x, tile.m_y, tile.m_z, tile.m_size);
    cut.reset(bytes);
    return done != 0;
}

/// @return false when one cannot be read
bool CutParts(DoubleTileParts& parts, const Source& source, const TileRequest& tile)
{
    if (!Cut(parts.m_own, source, tile))
        return false;
    if (tile.m_z >= source.m_maxLevel)
        return true;
    TileRequest quarter = tile;
    ++quarter.m_z;
    for (int i = 0; i < 4; ++i) {
        quarter.m_x = 2 * tile.m_x + i % 2;
        quarter.m_y = 2 * tile.m_y + i / 2;
        if (!Cut(parts.m_quarters[static_cast<std::size_t>(i)], source, quarter))
            return false;
    }
    return true;
}

MadeTile Unreadable(const char* cause)
{
    MadeTile made;
    made.m_cause = cause;
    return made;
}

/// A pack has tiles of one size: those of twice the edge are made here.
MadeTile DoubleFromPack(const Source& source, const TileRequest& tile)
{
    DoubleTileParts parts;
    if (!CutParts(parts, source, tile))
        return Unreadable("the raster cannot be read there");
    if (parts.IsEmpty())
        return Delivered(nullptr, kDisk);
    std::unique_ptr<KxC::KxRawData> bytes = MakeDoubleTile(std::move(parts), tile.m_format);
    return bytes == nullptr ? Unreadable("a tile that is stored there does not decode")
                            : Delivered(std::move(bytes), kDisk);
}

MadeTile CutFromRaster(const Source& source, const TileRequest& tile)
{
    if (source.m_isPack && tile.m_size == 2 * kTileSize)
        return DoubleFromPack(source, tile);
    std::unique_ptr<KxC::KxRawData> bytes;
    return Cut(bytes, source, tile) ? Delivered(std::move(bytes), kDisk)
                                    : Unreadable("the raster cannot be read there");
}

MadeTile Align(const Source& source, const TileRequest& tile, int timeoutMs)
{
    const Origin origin;
    const std::shared_ptr<KxC::KxTSDParamItem> item = source.ItemOfDay(tile.m_day);
    KxC::KxRawData* aligned = nullptr;
    const unsigned char done = KxTileFetcher::FetchWMTile3(
        aligned, item.get(), tile.m_x, tile.m_y, tile.m_z, tile.m_size, timeoutMs);
    std::unique_ptr<KxC::KxRawData> bytes(aligned);
    return done == 0 ? Failed(source, timeoutMs) : Delivered(std::move(bytes), origin.CacheState());
}

double Degrees(double radians)
{
    return radians * 180.0 / std::numbers::pi;
}

int IndexOf(double degrees, int level)
{
    const double count = std::exp2(level);
    return static_cast<int>(
        std::clamp(std::floor((degrees + 180.0) / 360.0 * count), 0.0, count - 1.0));
}

} // namespace

MadeTile MakeTile(const Source& source, const TileRequest& tile, int timeoutMs)
{
    if (source.m_kind == Source::Kind::Raster)
        return CutFromRaster(source, tile);
    if (source.HandsOutOwnTiles(tile.m_size))
        return FetchOwnTile(source, {tile.m_x, tile.m_y, tile.m_z}, timeoutMs);
    return Align(source, tile, timeoutMs);
}

MadeTile FetchRawTile(const Source& source, const TileRequest& tile, int timeoutMs)
{
    if (source.m_kind == Source::Kind::History)
        return FetchOwnEarthTile(source, tile, timeoutMs);
    HostTile own{tile.m_x, tile.m_y, tile.m_z};
    if (GridOf(source.m_item->m_nTileScheme) == GridKind::Baidu)
        own.m_y = (1 << tile.m_z) - 1 - tile.m_y;
    return FetchOwnTile(source, own, timeoutMs);
}

FoundDays FindDays(const Source& source, double longitude, double latitude, int level)
{
    std::vector<KxC::KxTime> days;
    FoundDays found;
    const KxC::NetError result = source.m_item->m_pGeFetcher->ListDates(
        days, level, IndexOf(latitude, level), IndexOf(longitude, level));
    if (result == KxC::NetError_Failure) {
        MadeTile failed = Failed(source, 0);
        found.m_outcome = failed.m_outcome;
        found.m_cause = std::move(failed.m_cause);
        return found;
    }
    found.m_outcome = MadeTile::kTile;
    for (const KxC::KxTime& day : days)
        found.m_days.push_back(FormatDate(day));
    return found;
}

bool LiesInBounds(const Source& source, const TileRequest& tile)
{
    // More than any datum shifts; bounds are written by hand.
    constexpr double kSlack = 0.02;
    KxC::KxRect2d metres;
    KxC::KxMath::CalcWMTileBounds(metres, tile.m_z, tile.m_y, tile.m_x, 0);
    const KxC::KxPoint2d northWest = KxC::KxMath::WebMecator2LatLon(metres.m_dLeft, metres.m_dTop);
    const KxC::KxPoint2d southEast =
        KxC::KxMath::WebMecator2LatLon(metres.m_dRight, metres.m_dBottom);
    const KxC::KxRect2d& bounds = source.m_bounds;
    return Degrees(northWest.x) < bounds.m_dRight + kSlack &&
           Degrees(southEast.x) > bounds.m_dLeft - kSlack &&
           Degrees(southEast.y) < bounds.m_dTop + kSlack &&
           Degrees(northWest.y) > bounds.m_dBottom - kSlack;
}

} // namespace KxTileHost::Serve
