// SPDX-License-Identifier: MIT
#include "SingleTile.h"

#include "KxTileFetcher.h"
#include "MemoryCache.h"
#include "SourceTexts.h"
#include "TileBody.h"
#include "TileFlights.h"
#include "TileRequest.h"
#include "TileUrl.h"

#include <exception>
#include <memory>
#include <new>
#include <utility>

namespace KxC {

namespace {

/// The user agent that services of scheme 3 expect.
constexpr char kScheme3UserAgent[] = "kh_lt/LT3.0.0762";

/// One download on its way from address to tile.
class TileDownload
{
public:
    TileDownload(KxTSDParamItem& source,
                 const SourceTile& address,
                 int requestParam,
                 const CacheSwitches& switches)
        : m_source(source), m_address(address), m_requestParam(requestParam), m_switches(switches)
    {
    }

    NetError Run(KxWMImageTileData*& tile);

private:
    NetError FromDisk(KxWMImageTileData*& tile, const KxRawData& bytes);
    NetError FromService(KxWMImageTileData*& tile, const KxString& url);
    NetError FromBody(KxWMImageTileData*& tile, KxRawData& body);
    NetError FromImageBytes(KxWMImageTileData*& tile, const KxRawData& bytes);
    NetError Deliver(KxWMImageTileData*& tile, std::unique_ptr<KxImageData> image);

    GetchResult LoadFromDisk(KxRawData& bytes) const;
    void SaveToDisk(const KxRawData& bytes) const;
    void SaveNoDataToDisk() const;
    NetError Request(KxRawData& body, const KxString& url) const;

    KxTSDParamItem& m_source;
    const SourceTile& m_address;
    int m_requestParam;
    const CacheSwitches& m_switches;
};

NetError TileDownload::Run(KxWMImageTileData*& tile)
{
    tile = nullptr;
    if (m_source.m_strUrlTemplate.IsEmpty() != 0 && m_source.m_bLuaScripted == 0)
        return NetError_Success;
    const KxString url = BuildTileUrl(m_source, m_address, RowRule::AsSourceCounts);
    KxRawData cached;
    switch (LoadFromDisk(cached)) {
    case GetchResult_NoData:
        return NetError_NoData;
    case GetchResult_HasData:
        return FromDisk(tile, cached);
    default:
        return FromService(tile, url);
    }
}

/// What is on disk decoded once. When it no longer does, there is nothing to show, and the
/// service is not asked again.
NetError TileDownload::FromDisk(KxWMImageTileData*& tile, const KxRawData& bytes)
{
    std::unique_ptr<KxImageData> image = bytes.GetSize() > 0 ? DecodeImage(bytes) : nullptr;
    return image == nullptr ? NetError_Success : Deliver(tile, std::move(image));
}

NetError TileDownload::FromService(KxWMImageTileData*& tile, const KxString& url)
{
    KxRawData body;
    switch (Request(body, url)) {
    case NetError_Success:
        return FromBody(tile, body);
    case NetError_NoData:
        SaveNoDataToDisk();
        return Deliver(tile, nullptr);
    default:
        return NetError_Failure;
    }
}

/// An empty body, and a compressed one that does not inflate, count as "no data there".
NetError TileDownload::FromBody(KxWMImageTileData*& tile, KxRawData& body)
{
    if (body.GetSize() == 0)
        return Deliver(tile, nullptr);
    if (!IsGzipSource(m_source))
        return FromImageBytes(tile, body);
    KxRawData inflated;
    return InflateBody(body, inflated) ? FromImageBytes(tile, inflated) : Deliver(tile, nullptr);
}

NetError TileDownload::FromImageBytes(KxWMImageTileData*& tile, const KxRawData& bytes)
{
    if (!IsWholeImage(bytes))
        return NetError_Failure;
    std::unique_ptr<KxImageData> image = DecodeImage(bytes);
    if (image != nullptr)
        SaveToDisk(bytes);
    return Deliver(tile, std::move(image));
}

NetError TileDownload::Deliver(KxWMImageTileData*& tile, std::unique_ptr<KxImageData> image)
{
    tile = new (std::nothrow)
        KxWMImageTileData(m_address.m_level, m_address.m_row, m_address.m_col, image.get());
    if (tile == nullptr)
        return NetError_Failure;
    image.release(); // NOLINT(bugprone-unused-return-value): the tile owns it now
    if (m_switches.m_memory)
        HandToMemoryCache(m_source.m_strHashKey, tile);
    return NetError_Success;
}

GetchResult TileDownload::LoadFromDisk(KxRawData& bytes) const
{
    if (!m_switches.m_disk)
        return GetchResult_Unknown;
    return KxTileFetcher::LoadFromLocalCache(
        m_source.m_strHashKey, m_address.m_level, m_address.m_row, m_address.m_col, bytes);
}

void TileDownload::SaveToDisk(const KxRawData& bytes) const
{
    if (m_switches.m_disk)
        KxTileFetcher::SaveToLocalCache(m_source.m_strHashKey,
                                        m_address.m_level,
                                        m_address.m_row,
                                        m_address.m_col,
                                        bytes.GetData(),
                                        bytes.GetSize());
}

void TileDownload::SaveNoDataToDisk() const
{
    if (m_switches.m_disk)
        KxTileFetcher::SaveNoDataInfoToLocalCache(
            m_source.m_strHashKey, m_address.m_level, m_address.m_row, m_address.m_col);
}

NetError TileDownload::Request(KxRawData& body, const KxString& url) const
{
    if (m_source.m_nTileScheme == kSchemeEarthHistory) {
        if (m_source.m_pGeFetcher == nullptr)
            return NetError_Failure;
        KxString info;
        return m_source.m_pGeFetcher->FetchImageRawData(
            body, m_address.m_level, m_address.m_row, m_address.m_col, info, 0);
    }
    const bool fixedAgent = m_source.m_nTileScheme == kSchemeGoogleMercator;
    return RequestTile(body,
                       m_source,
                       url,
                       fixedAgent ? KxString(kScheme3UserAgent) : m_source.m_strUserAgent,
                       m_requestParam);
}

/// The tile belongs to the memory cache from here on, also when it cannot be kept there.
KxWMImageTileData* FindInMemory(const KxTSDParamItem& source, const SourceTile& address)
{
    KxWMTileDataCache* cache = m_gWMTileDataCacheManager.OpenCache(source.m_strHashKey);
    if (cache == nullptr)
        return nullptr;
    // Only image tiles are ever put into a source's cache.
    return static_cast<KxWMImageTileData*>(
        cache->AccessTileData(address.m_level, address.m_row, address.m_col));
}

FlightOutcome
OutcomeOf(NetError result, const KxWMImageTileData* tile, const KxTSDParamItem& source)
{
    FlightOutcome outcome{result, tile != nullptr, {}, {}};
    if (result != NetError_Failure)
        return outcome;
    outcome.m_request = KxNetGetch::GetLastRequestInfo();
    if (source.m_nTileScheme == kSchemeEarthHistory)
        outcome.m_earthFetch = KxGeFetcher::GetLastFetchInfo();
    return outcome;
}

/// A failure is one of this thread's own: whoever asks it finds what the request failed with.
NetError ShareOutcome(const FlightOutcome& outcome, const KxTSDParamItem& source)
{
    if (outcome.m_result != NetError_Failure)
        return outcome.m_result;
    KxNetGetch::SetLastRequestInfo(outcome.m_request);
    if (source.m_nTileScheme == kSchemeEarthHistory)
        KxGeFetcher::SetLastFetchInfo(outcome.m_earthFetch);
    return NetError_Failure;
}

/// What the memory cache had not, fetched by one thread for all that want it meanwhile.
/// @param landed  how many flights had landed before the memory cache was asked
NetError FetchInFlight(KxWMImageTileData*& tile,
                       KxTSDParamItem& source,
                       const SourceTile& address,
                       int requestParam,
                       const CacheSwitches& switches,
                       unsigned long long landed)
{
    TileFlights::Seat seat(SharedTileFlights(),
                           {&source, address.m_level, address.m_row, address.m_col, requestParam});
    if (!seat.IsPilot()) {
        const FlightOutcome& outcome = seat.Wait();
        if (!outcome.m_isStored)
            return ShareOutcome(outcome, source);
    }
    // Another thread may have stored it since.
    if (!seat.IsPilot() || !seat.IsNextAfter(landed))
        tile = FindInMemory(source, address);
    NetError result = NetError_Success;
    // A tile that the cache did not keep is fetched by each thread for itself.
    if (tile == nullptr)
        result = DownloadSourceTile(tile, source, address, requestParam, switches);
    if (seat.IsPilot())
        seat.Land(OutcomeOf(result, tile, source));
    return result;
}

} // namespace

NetError DownloadSourceTile(KxWMImageTileData*& tile,
                            KxTSDParamItem& source,
                            const SourceTile& address,
                            int requestParam,
                            const CacheSwitches& switches)
{
    return TileDownload(source, address, requestParam, switches).Run(tile);
}

NetError FetchSourceTile(KxWMImageTileData*& tile,
                         KxTSDParamItem& source,
                         const SourceTile& address,
                         int requestParam,
                         const CacheSwitches& switches)
{
    if (!switches.m_memory)
        return DownloadSourceTile(tile, source, address, requestParam, switches);
    const unsigned long long landed = SharedTileFlights().CountLanded();
    tile = FindInMemory(source, address);
    if (tile != nullptr)
        return NetError_Success;
    return FetchInFlight(tile, source, address, requestParam, switches, landed);
}

// Hosts get a result whatever happens: memory that runs out is a failure like any other.

NetError KxTileFetcher::FetchWMData(
    KxWMImageTileData*& tile, KxTSDParamItem* source, int level, int row, int col, int requestParam)
try {
    if (source == nullptr)
        return NetError_Failure;
    const Operation operation;
    return FetchSourceTile(tile, *source, {level, row, col}, requestParam, CacheSwitches::Read());
} catch (const std::exception&) {
    tile = nullptr;
    return NetError_Failure;
}

NetError KxTileFetcher::DownLoadWMData(
    KxWMImageTileData*& tile, KxTSDParamItem* source, int level, int row, int col, int requestParam)
try {
    if (source == nullptr)
        return NetError_Failure;
    const Operation operation;
    return DownloadSourceTile(
        tile, *source, {level, row, col}, requestParam, CacheSwitches::Read());
} catch (const std::exception&) {
    tile = nullptr;
    return NetError_Failure;
}

} // namespace KxC
