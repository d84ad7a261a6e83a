// SPDX-License-Identifier: MIT
// Fetches one Web Mercator tile and writes it as a picture.
//
//   fetch_tile <template> <zoom> <column> <row from the north> <file.png, .jpeg, .webp or .tif>
//
// for instance with the template "http://127.0.0.1:8080/{$z}/{$x}/{$y}.png".
#include <KxImgUtility.h>
#include <KxTSDParam.h>
#include <KxTileFetcher.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

KxC::KxTSDParamItem* SourceOf(const char* urlTemplate)
{
    const int webMercator = 3;
    const int wgs84 = 0;
    const int rowsFromTheNorth = 0;
    return KxC::m_gTSDParamManager.GetTSDParam(
        urlTemplate, "", webMercator, wgs84, rowsFromTheNorth, 0, 256, "", 0, KxC::KxTime());
}

/// What the fetch brought, in words; null when it brought a picture.
const char* FaultOf(KxC::NetError result, const KxC::KxWMImageTileData* tile)
{
    if (result == KxC::NetError_Failure)
        return "the service could not be reached, or did not send a picture";
    if (tile == nullptr || tile->GetImage() == nullptr)
        return "the service has no tile there";
    return nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    const int zoom = argc == 6 ? std::atoi(argv[2]) : -1;
    if (zoom < 0 || zoom > 30) {
        std::fputs("usage: fetch_tile <template> <zoom 0 to 30> <column> <row> <file>\n", stderr);
        return 2;
    }
    const int column = std::atoi(argv[3]);
    const int rowFromTheSouth = (1 << zoom) - 1 - std::atoi(argv[4]);

    // One tile is not worth keeping in memory; without the memory cache the caller owns it.
    KxC::KxTileFetcher::m_sbMemCacheUsed = 0;
    KxC::KxWMImageTileData* fetched = nullptr;
    const int timeoutMs = 10000;
    const KxC::NetError result = KxC::KxTileFetcher::FetchWMData(
        fetched, SourceOf(argv[1]), zoom, rowFromTheSouth, column, timeoutMs);
    const std::unique_ptr<KxC::KxWMImageTileData> tile(fetched);

    if (const char* fault = FaultOf(result, tile.get()); fault != nullptr) {
        std::fprintf(stderr, "fetch_tile: %s\n", fault);
        return 1;
    }
    if (KxC::KxImgUtility::SaveImageFile(tile->GetImage(), argv[5], 0) == 0) {
        std::fprintf(stderr, "fetch_tile: cannot write %s\n", argv[5]);
        return 1;
    }
}
