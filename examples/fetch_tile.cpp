// SPDX-License-Identifier: MIT
// Fetches one Web Mercator tile and writes it as a picture.
//
//   fetch_tile <template> <zoom> <column> <row from the north> <file.png, .jpeg, .webp or .tif>
//
// for instance with the template "http://127.0.0.1:8080/{$z}/{$x}/{$y}.png".
#include "Arguments.h"

#include <KxImgUtility.h>
#include <KxTSDParam.h>
#include <KxTileFetcher.h>

#include <cstdio>
#include <memory>

namespace {

KxC::KxTSDParamItem* SourceOf(const char* urlTemplate)
{
    const int webMercator = 10;
    const int wgs84 = 0;
    const int rowsFromTheNorth = 0;
    return KxC::m_gTSDParamManager.GetTSDParam(
        urlTemplate, "", webMercator, wgs84, rowsFromTheNorth, 0, 256, "", 0, KxC::KxTime());
}

/// What went wrong, in words; null when the tile has been written.
const char* FetchAndWrite(const char* urlTemplate, int zoom, int column, int row, const char* path)
{
    // One tile is not worth keeping in memory; without the memory cache the caller owns it.
    KxC::KxTileFetcher::m_sbMemCacheUsed = 0;
    // Inside the library rows count from the south.
    const int rowFromTheSouth = (1 << zoom) - 1 - row;
    const int timeoutMs = 10000;
    KxC::KxWMImageTileData* fetched = nullptr;
    const KxC::NetError result = KxC::KxTileFetcher::FetchWMData(
        fetched, SourceOf(urlTemplate), zoom, rowFromTheSouth, column, timeoutMs);
    const std::unique_ptr<KxC::KxWMImageTileData> tile(fetched);

    if (result == KxC::NetError_Failure)
        return "the service could not be reached, or did not send a picture";
    if (tile == nullptr || tile->GetImage() == nullptr)
        return "the service has no tile there";
    if (KxC::KxImgUtility::SaveImageFile(tile->GetImage(), path, 0) == 0)
        return "the file cannot be written";
    return nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    const int zoom = argc == 6 ? NumberUpTo(30, argv[2]) : -1;
    const int last = zoom >= 0 ? (1 << zoom) - 1 : -1;
    const int column = zoom >= 0 ? NumberUpTo(last, argv[3]) : -1;
    const int row = zoom >= 0 ? NumberUpTo(last, argv[4]) : -1;
    if (column < 0 || row < 0) {
        std::fputs("usage: fetch_tile <template> <zoom> <column> <row> <file>\n", stderr);
        return 2;
    }
    if (const char* fault = FetchAndWrite(argv[1], zoom, column, row, argv[5]); fault != nullptr) {
        std::fprintf(stderr, "fetch_tile: %s\n", fault);
        return 1;
    }
}
