// SPDX-License-Identifier: MIT
#include "TilePictures.h"

#include "KxImgUtility.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

namespace KxC::ImageBench {

namespace {

constexpr int kMostTiles = 24;

Bytes FileBytes(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Bytes CutTile(const KxImageData& picture, int firstRow, int firstColumn)
{
    Bytes tile;
    for (int row = firstRow; row < firstRow + kTileSide; ++row) {
        const unsigned char* start = picture.GetData() +
                                     static_cast<std::ptrdiff_t>(row) * picture.GetRowBytes() +
                                     static_cast<std::ptrdiff_t>(firstColumn) * 3;
        tile.insert(tile.end(), start, start + kTileSide * 3);
    }
    return tile;
}

/// Evenly spread over the picture, so that sea, ice, forest and desert have their shares. The
/// offset keeps tiles off the picture's own 8 x 8 blocks: on them, a JPEG of the quality that the
/// picture once had would look lossless.
std::vector<Bytes> CutTiles(const KxImageData& picture)
{
    constexpr int kOffset = 3;
    const int columns = (picture.GetWidth() - kOffset) / kTileSide;
    const int count = columns * ((picture.GetHeight() - kOffset) / kTileSide);
    const int step = std::max(1, count / kMostTiles);
    std::vector<Bytes> tiles;
    for (int i = 0; i < count; i += step)
        tiles.push_back(
            CutTile(picture, kOffset + i / columns * kTileSide, kOffset + i % columns * kTileSide));
    return tiles;
}

/// Waves of falling length and height with some grain: compresses much like terrain.
Bytes MakeTile(int number)
{
    Bytes tile;
    unsigned int grain = static_cast<unsigned int>(number) + 1;
    for (int row = 0; row < kTileSide; ++row)
        for (int column = 0; column < kTileSide; ++column)
            for (int channel = 0; channel < 3; ++channel) {
                double value = 110;
                for (int octave = 1; octave <= 5; ++octave) {
                    const double scale = 0.01 * (1 << octave);
                    value += 60.0 / (1 << octave) * std::sin(scale * column + number) *
                             std::cos(scale * 0.8 * row + channel);
                }
                grain = grain * 1664525U + 1013904223U;
                tile.push_back(static_cast<unsigned char>(value + (grain >> 29)));
            }
    return tile;
}

TileSet LoadTiles()
{
    const Bytes file = FileBytes(KXTILE_BLUE_MARBLE);
    const std::unique_ptr<KxImageData> picture(
        KxImgUtility::LoadImageData(file.data(), static_cast<unsigned int>(file.size()), "", 1, 1));
    if (picture != nullptr && picture->GetPixelSize() == 3 &&
        std::min(picture->GetWidth(), picture->GetHeight()) > 2 * kTileSide)
        return {CutTiles(*picture), "Blue Marble"};
    TileSet made{{}, "generated terrain (no Blue Marble picture)"};
    for (int number = 0; number < 8; ++number)
        made.tiles.push_back(MakeTile(number));
    return made;
}

TileSet AddAlpha(const TileSet& colour)
{
    constexpr int kMargin = 16;
    TileSet set{{}, colour.origin};
    for (const Bytes& tile : colour.tiles) {
        Bytes withAlpha(static_cast<std::size_t>(kTileSide) * kTileSide * 4);
        for (std::size_t i = 0; i < tile.size() / 3; ++i)
            if (i % kTileSide >= kMargin) {
                std::memcpy(&withAlpha[4 * i], &tile[3 * i], 3);
                withAlpha[4 * i + 3] = 255;
            }
        set.tiles.push_back(withAlpha);
    }
    return set;
}

} // namespace

const TileSet& Tiles()
{
    static const TileSet set = LoadTiles();
    return set;
}

const TileSet& TilesWithAlpha()
{
    static const TileSet set = AddAlpha(Tiles());
    return set;
}

double Psnr(const Bytes& a, const Bytes& b)
{
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += (a[i] - b[i]) * (a[i] - b[i]);
    return sum > 0 ? 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / sum) : 99;
}

} // namespace KxC::ImageBench
