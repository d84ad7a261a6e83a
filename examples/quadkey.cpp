// SPDX-License-Identifier: MIT
// How a service names a tile: its quadkey, and its URL made from a template.
//
//   quadkey [<template> <zoom> <column> <row from the north>]
//
// Nothing is downloaded.
#include "Arguments.h"

#include <KxTSDParam.h>
#include <KxTileFetcher.h>

#include <cstdio>

namespace {

void PrintTile(const char* urlTemplate, int zoom, int column, int row)
{
    // Quadkeys count rows from the north.
    const KxC::KxString quadKey = KxC::KxTileFetcher::BingMapTileToQuadKey(row, column, zoom);
    std::printf("quadkey %s\n", quadKey.Cstr());

    // A source without a definition file. The library owns it; asking again gives the same one.
    const int webMercator = 3;
    const int wgs84 = 0;
    const int rowsFromTheNorth = 0;
    KxC::KxTSDParamItem* source = KxC::m_gTSDParamManager.GetTSDParam(
        urlTemplate, "", webMercator, wgs84, rowsFromTheNorth, 0, 256, "", 0, KxC::KxTime());

    // Inside the library rows count from the south; the URL counts them as its service does.
    const int rowFromTheSouth = (1 << zoom) - 1 - row;
    const KxC::KxString url = KxC::KxTileFetcher::GetURL(source, zoom, rowFromTheSouth, column);
    std::printf("URL %s\n", url.Cstr());
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 1) {
        PrintTile("https://tiles.example.com/{$z}/{$x}/{$y}.png", 3, 3, 5);
        return 0;
    }
    const int zoom = argc == 5 ? NumberUpTo(30, argv[2]) : -1;
    const int last = zoom >= 0 ? (1 << zoom) - 1 : -1;
    const int column = zoom >= 0 ? NumberUpTo(last, argv[3]) : -1;
    const int row = zoom >= 0 ? NumberUpTo(last, argv[4]) : -1;
    if (column < 0 || row < 0) {
        std::fputs("usage: quadkey [<template> <zoom> <column> <row>]\n", stderr);
        return 2;
    }
    PrintTile(argv[1], zoom, column, row);
}
