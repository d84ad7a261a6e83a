// SPDX-License-Identifier: MIT
// How a service names a tile: its quadkey, and its URL made from a template.
//
//   quadkey [<template> <zoom> <column> <row from the north>]
//
// Nothing is downloaded.
#include <KxTSDParam.h>
#include <KxTileFetcher.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    const bool given = argc == 5;
    const char* urlTemplate = given ? argv[1] : "https://tiles.example.com/{$z}/{$x}/{$y}.png";
    const int zoom = given ? std::atoi(argv[2]) : 3;
    const int column = given ? std::atoi(argv[3]) : 3;
    const int row = given ? std::atoi(argv[4]) : 5;
    if ((argc != 1 && !given) || zoom < 1 || zoom > 30) {
        std::fputs("usage: quadkey [<template> <zoom 1 to 30> <column> <row>]\n", stderr);
        return 2;
    }

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
