// SPDX-License-Identifier: MIT
// Tiles of the geographic grid beside what gdalwarp makes of the same database.
#include "KxImageData.h"
#include "KxImgUtility.h"
#include "TilePacks.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace KxC {

namespace {

using namespace Test;

constexpr int kLevel = 3;
constexpr int kSide = 256;

void WriteLevel(const std::string& path)
{
    MbTilesFile file(path);
    file.CreateTables();
    for (const char* const name : {"minzoom", "maxzoom"})
        file.AddMetadata(name, std::to_string(kLevel));
    file.AddMetadata("format", "png");
    file.AddMetadata("bounds", "-180,-85.0511287798066,180,85.0511287798066");
    file.Execute("BEGIN");
    for (int row = 0; row < 1 << kLevel; ++row)
        for (int col = 0; col < 1 << kLevel; ++col)
            file.AddTile(kLevel, row, col, PngOfPlace(row, col));
    file.Execute("COMMIT");
}

/// The tile as gdalwarp makes it, by the nearest rule.
std::unique_ptr<KxImageData>
Warp(const TempFolder& folder, const std::string& pack, int row, int col)
{
    const double degrees = 360.0 / (1 << kLevel);
    const std::string place =
        std::to_string(col * degrees - 180) + " " + std::to_string(row * degrees - 180) + " " +
        std::to_string((col + 1) * degrees - 180) + " " + std::to_string((row + 1) * degrees - 180);
    const std::string tif = folder.File("warped.tif");
    const std::string png = folder.File("warped.png");
    const std::string command = std::string(KX_GDALWARP) +
                                " -q -overwrite -r near -et 0 -ovr NONE -t_srs EPSG:4326 -te " +
                                place + " -ts 256 256 '" + pack + "' '" + tif + "' && " +
                                KX_GDAL_TRANSLATE + " -q -of PNG '" + tif + "' '" + png + "'";
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is there
    if (std::system(command.c_str()) != 0)
        return nullptr;
    const std::string bytes = ReadFile(png);
    return std::unique_ptr<KxImageData>(
        KxImgUtility::LoadImageData(reinterpret_cast<const unsigned char*>(bytes.data()),
                                    static_cast<unsigned int>(bytes.size()),
                                    ".png",
                                    0,
                                    0));
}

/// Where a pixel's colour says that it comes from.
struct Place
{
    int m_col;
    int m_row;
};

Place PlaceAt(const KxImageData& image, int row, int col)
{
    const unsigned char* const pixel =
        image.GetData() + row * image.GetRowBytes() + col * image.GetPixelSize();
    return {(pixel[2] >> 4) * 256 + pixel[0], (pixel[2] & 15) * 256 + pixel[1]};
}

TEST(PackImage, AgreesWithGdalwarp)
{
    const TempFolder folder;
    const std::string path = folder.File("pack.mbtiles");
    WriteLevel(path);
    const auto reader = OpenPack(path);
    ASSERT_NE(reader, nullptr);
    for (const auto& [tileRow, tileCol] : {std::pair(4, 4), std::pair(3, 0), std::pair(4, 7)}) {
        const auto ours = ReadImage(*reader, kLevel, tileRow, tileCol);
        const auto theirs = Warp(folder, path, tileRow, tileCol);
        ASSERT_NE(ours, nullptr);
        ASSERT_NE(theirs, nullptr);
        int equal = 0;
        for (int row = 0; row < kSide; ++row)
            for (int col = 0; col < kSide; ++col) {
                const Place own = PlaceAt(*ours, row, col);
                const Place other = PlaceAt(*theirs, row, col);
                ASSERT_LE(std::abs(own.m_col - other.m_col), 1) << row << " " << col;
                ASSERT_LE(std::abs(own.m_row - other.m_row), 1) << row << " " << col;
                equal += own.m_col == other.m_col && own.m_row == other.m_row ? 1 : 0;
            }
        EXPECT_GE(equal, kSide * kSide * 99 / 100) << tileRow << " " << tileCol;
    }
}

} // namespace

} // namespace KxC
