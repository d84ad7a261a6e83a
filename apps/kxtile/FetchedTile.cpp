// SPDX-License-Identifier: MIT
#include "FetchedTile.h"

#include "Command.h"
#include "EarthSource.h"
#include "FetchedTileCache.h"
#include "KxFile.h"
#include "KxImgUtility.h"
#include "KxNetGetch.h"
#include "KxTileFetcher.h"
#include "StatusHint.h"
#include "TileUrl.h"

#include <fmt/format.h>

#include <chrono>
#include <functional>

namespace KxTileHost {

namespace {

using KxC::KxNetGetch;
using KxC::KxNetRequestInfo;
using KxC::KxTileFetcher;
using KxC::NetError;

constexpr int kSchemeBingMap = 6;
constexpr char kRemembered[] =
    "Remembered from an earlier request; 'kxtile cache clear SOURCE' forgets it.";

/// What the last request says of the failure.
[[noreturn]] void ThrowRequestFailure(const KxNetRequestInfo& request)
{
    const std::string status =
        request.m_nHttpStatus > 0 ? fmt::format(" (HTTP status {})", request.m_nHttpStatus) : "";
    throw CommandError(
        kExitFailed,
        fmt::format("{}{}: {}", request.m_strUrl.Cstr(), status, request.m_strCause.Cstr()),
        HintForStatus(request.m_nHttpStatus));
}

/// The answer came but is no picture.
[[noreturn]] void ThrowNotAPicture(const KxNetRequestInfo& request)
{
    ThrowIfEarthFailed();
    throw CommandError(
        kExitFailed,
        fmt::format("{} (HTTP status {}): the answer of {} bytes, type '{}', is no whole PNG, "
                    "JPEG, WebP or GIF",
                    request.m_strUrl.Cstr(),
                    request.m_nHttpStatus,
                    request.m_nBytes,
                    request.m_strContentType.Cstr()),
        "It may be an error page, broken off, or compressed: a format that ends in gzip is "
        "inflated, to at most twice the size.");
}

[[noreturn]] void ThrowNoTile(const std::string& url, int status)
{
    const std::string how = status > 0 ? fmt::format("HTTP status {}", status) : "known on disk";
    throw CommandError(kExitNoTile,
                       fmt::format("{}: no tile there ({})", url, how),
                       status > 0 ? "" : kRemembered);
}

/// No request could be made: the source gave no URL to ask.
[[noreturn]] void ThrowNothingToAsk(const KxC::KxTSDParamItem& source)
{
    if (source.m_nTileScheme == kSchemeEarthHistory)
        ThrowIfEarthFailed();
    if (source.m_bLuaScripted == 0)
        throw CommandError(kExitFailed,
                           "the library makes no tile of this size on this level",
                           "Levels go to 30, also after the deeper one that large tiles need.");
    ThrowNoUrl(source);
}

/// The URL that was asked, or, when the tile was at hand, the one that would have been.
std::string UrlOf(KxC::KxTSDParamItem& source, const HostTile& tile)
{
    const KxNetRequestInfo& request = KxNetGetch::GetLastRequestInfo();
    if (request.m_nAttempts > 0)
        return request.m_strUrl.Cstr();
    return KxTileFetcher::GetURL(&source, tile.m_z, tile.RowFromSouth(), tile.m_x).Cstr();
}

/// The service's own bytes of a tile that the library has put on disk; null when they are not
/// there, because the cache cannot be written.
std::unique_ptr<KxC::KxRawData> BytesOnDisk(const KxC::KxTSDParamItem& source, const HostTile& tile)
{
    auto bytes = std::make_unique<KxC::KxRawData>();
    const KxC::GetchResult result = KxTileFetcher::LoadFromLocalCache(
        source.m_strHashKey, tile.m_z, tile.RowFromSouth(), tile.m_x, *bytes);
    if (result != KxC::GetchResult_HasData)
        return nullptr;
    bytes->SetExt(KxC::KxImgUtility::TellImgExt(bytes->GetData(), bytes->GetSize()));
    return bytes;
}

/// Earth imagery has no URL of its own for a tile: its fetcher finds it.
std::unique_ptr<KxC::KxRawData> FetchFromEarth(KxC::KxTSDParamItem& source, const HostTile& tile)
{
    auto bytes = std::make_unique<KxC::KxRawData>();
    KxC::KxString info;
    source.m_pGeFetcher->FetchImageRawData(
        *bytes, tile.m_z, tile.RowFromSouth(), tile.m_x, info, 0);
    ThrowIfEarthFailed();
    return bytes;
}

std::unique_ptr<KxC::KxRawData>
FetchDirect(KxC::KxTSDParamItem& source, const HostTile& tile, int timeoutMs)
{
    if (source.m_pGeFetcher != nullptr)
        return FetchFromEarth(source, tile);
    KxC::KxRawData* bytes = nullptr;
    if (KxTileFetcher::FetchWMTile4(bytes,
                                    &source,
                                    tile.m_x,
                                    tile.RowForDirectDownload(source),
                                    tile.m_z,
                                    source.m_nTileSize,
                                    timeoutMs) == 0)
        ThrowFetchFailure(source);
    std::unique_ptr<KxC::KxRawData> owned(bytes);
    if (owned->GetSize() == 0) {
        const KxNetRequestInfo& request = KxNetGetch::GetLastRequestInfo();
        ThrowNoTile(request.m_strUrl.Cstr(), request.m_nHttpStatus);
    }
    return owned;
}

/// Seconds that `operation` takes.
double Measure(const std::function<void()>& operation)
{
    const auto start = std::chrono::steady_clock::now();
    operation();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// What came of a fetch that did not fail: a picture, or why there is none.
void CheckPicture(NetError result, const KxC::KxWMImageTileData* tile, const std::string& url)
{
    const KxNetRequestInfo& request = KxNetGetch::GetLastRequestInfo();
    if (tile != nullptr && tile->GetImage() != nullptr)
        return;
    ThrowIfEarthFailed();
    if (result == KxC::NetError_NoData || request.m_result == KxC::NetError_NoData)
        ThrowNoTile(url, request.m_nHttpStatus);
    if (tile == nullptr)
        throw CommandError(kExitFailed,
                           fmt::format("{}: the bytes kept on disk are no picture", url),
                           "Forget them with 'kxtile cache clear SOURCE', then try again.");
    if (request.m_nBytes == 0)
        ThrowNoTile(url, request.m_nHttpStatus);
    ThrowNotAPicture(request);
}

unsigned long long HitsOfThread()
{
    return KxC::m_gWMTileDataCacheManager.GetThreadStatistics().m_nHits;
}

/// Where the library had the tile from.
std::string Origin(unsigned long long memoryHitsBefore)
{
    if (KxNetGetch::GetLastRequestInfo().m_nAttempts > 0)
        return "network";
    return HitsOfThread() > memoryHitsBefore ? "memory" : "disk";
}

/// The name of a definition file's part of the cache says little about whose it is.
void DescribeInCache(const KxC::KxTSDParamItem& source)
{
    const std::string path = source.m_strKey.Cstr();
    if (source.m_bFromDefinitionFile != 0)
        KxC::m_gRawDataTypeCacheManager.DescribeSubTree(
            KxC::KxRawDataTypeCacheManager::CacheType_SourceTile,
            source.m_strHashKey,
            path.substr(path.rfind('/') + 1).c_str());
}

void FetchThroughCaches(FetchedTile& fetched,
                        KxC::KxTSDParamItem& source,
                        const HostTile& tile,
                        int timeoutMs)
{
    const auto hitsBefore = HitsOfThread();
    KxC::KxWMImageTileData* inMemory = nullptr;
    NetError result = KxC::NetError_Failure;
    fetched.m_seconds = Measure([&] {
        result = KxTileFetcher::FetchWMData(
            inMemory, &source, tile.m_z, tile.RowFromSouth(), tile.m_x, timeoutMs);
    });
    if (result == KxC::NetError_Failure)
        ThrowFetchFailure(source);
    fetched.m_url = UrlOf(source, tile);
    CheckPicture(result, inMemory, fetched.m_url);
    fetched.m_from = Origin(hitsBefore);
    DescribeInCache(source);
    fetched.m_bytes = BytesOnDisk(source, tile);
    if (fetched.m_bytes == nullptr) {
        NoteDiskCacheUnwritable();
        fetched.m_bytes = FetchDirect(source, tile, timeoutMs);
    }
}

void FetchPastCaches(FetchedTile& fetched,
                     KxC::KxTSDParamItem& source,
                     const HostTile& tile,
                     int timeoutMs)
{
    fetched.m_from = "network";
    fetched.m_seconds = Measure([&] { fetched.m_bytes = FetchDirect(source, tile, timeoutMs); });
    fetched.m_url = UrlOf(source, tile);
}

/// A cache that cannot be written would have each tile fetched twice: once for the library, which
/// keeps the picture alone, and once for the bytes. What it holds is still taken.
bool GoesThroughCaches(const KxC::KxTSDParamItem& source, const HostTile& tile)
{
    return IsDiskCacheWritable() || BytesOnDisk(source, tile) != nullptr;
}

bool WasRequestSent()
{
    return KxNetGetch::GetLastRequestInfo().m_nAttempts > 0;
}

void CheckHasUrl(const KxC::KxTSDParamItem& source)
{
    if (source.m_strUrlTemplate.IsEmpty() != 0 && source.m_bLuaScripted == 0)
        throw CommandError(kExitFailed, "the source has neither URL nor script");
}

} // namespace

void ThrowFetchFailure(const KxC::KxTSDParamItem& source)
{
    const KxNetRequestInfo& request = KxNetGetch::GetLastRequestInfo();
    if (request.m_strUrl.IsEmpty() != 0)
        ThrowNothingToAsk(source);
    if (request.m_result != KxC::NetError_Success)
        ThrowRequestFailure(request);
    ThrowNotAPicture(request);
}

FetchedTile
FetchTileOf(KxC::KxTSDParamItem& source, const HostTile& tile, bool useDiskCache, int timeoutMs)
{
    CheckHasUrl(source);
    if (source.m_nTileScheme == kSchemeBingMap && source.m_bLuaScripted == 0 && tile.m_z == 0)
        throw CommandError(kExitNoTile, "services by quadkey have no level 0");
    KxNetGetch::ClearLastRequestInfo();
    FetchedTile fetched;
    if (useDiskCache && GoesThroughCaches(source, tile))
        FetchThroughCaches(fetched, source, tile, timeoutMs);
    else
        FetchPastCaches(fetched, source, tile, timeoutMs);
    fetched.m_httpStatus = KxNetGetch::GetLastRequestInfo().m_nHttpStatus;
    return fetched;
}

FetchedTile FetchAlignedTile(KxC::KxTSDParamItem& source,
                             const HostTile& tile,
                             const AlignedTileOptions& options)
{
    CheckHasUrl(source);
    KxNetGetch::ClearLastRequestInfo();
    const auto fetch =
        options.m_blockCopy ? KxTileFetcher::FetchWMTileByParam : KxTileFetcher::FetchWMTile3;
    KxC::KxRawData* bytes = nullptr;
    unsigned char done = 0;
    FetchedTile fetched;
    fetched.m_seconds = Measure([&] {
        done = fetch(
            bytes, &source, tile.m_x, tile.m_y, tile.m_z, options.m_size, options.m_timeoutMs);
    });
    fetched.m_bytes.reset(bytes);
    if (done == 0)
        ThrowFetchFailure(source);
    if (bytes == nullptr || bytes->GetSize() == 0)
        throw CommandError(
            kExitNoTile,
            fmt::format("the source has nothing at {}/{}/{}", tile.m_x, tile.m_y, tile.m_z));
    fetched.m_from = WasRequestSent() ? "network" : "cache";
    fetched.m_httpStatus = KxNetGetch::GetLastRequestInfo().m_nHttpStatus;
    return fetched;
}

} // namespace KxTileHost
