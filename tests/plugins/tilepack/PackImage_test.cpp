// SPDX-License-Identifier: MIT
#include "KxImageData.h"
#include "TilePacks.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

namespace KxC {

namespace {

using namespace Test;

constexpr int kSide = 256;

/// Row of the level's Web Mercator pixels, counted from the south, that lies under a latitude.
double MercatorRow(double latitude, int pixels)
{
    const double radians = latitude * std::numbers::pi / 180;
    const double y = std::asinh(std::tan(radians)) / std::numbers::pi; // -1 to 1
    return (y + 1) / 2 * pixels;
}

std::array<int, 4> PixelOf(const KxImageData& image, int row, int col)
{
    const int size = image.GetPixelSize();
    const unsigned char* const pixel = image.GetData() + row * image.GetRowBytes() + col * size;
    return {pixel[0], pixel[1], pixel[2], size == 4 ? pixel[3] : -1};
}

/// Every tile of a level, each pixel with its place on it.
std::unique_ptr<KxRasterDataAccessor> FullLevel(const TempFolder& folder, int level, int side)
{
    MbTilesFile file(folder.File("full.mbtiles"));
    file.CreateTables();
    file.Execute("BEGIN");
    for (int row = 0; row < 1 << level; ++row)
        for (int col = 0; col < 1 << level; ++col)
            file.AddTile(level, row, col, PngOfPlace(row, col, side));
    file.Execute("COMMIT");
    return OpenPack(file.Close());
}

/// Compares a tile of the geographic grid pixel by pixel with what lies under the pixels' middles.
void ExpectPlaces(KxRasterDataAccessor& reader, int level, int row, int col, int side)
{
    const auto image = ReadImage(reader, level, row, col);
    ASSERT_NE(image, nullptr);
    ASSERT_EQ(image->GetWidth(), kSide);
    ASSERT_EQ(image->GetHeight(), kSide);
    const int pixels = side << level;
    const double degrees = 360.0 / (1 << level) / kSide;
    for (int y = 0; y < kSide; ++y) {
        const double latitude = -180 + (row * kSide + y + 0.5) * degrees;
        const bool covered = std::abs(latitude) < 85.0511287798066;
        const int sourceRow = covered ? static_cast<int>(MercatorRow(latitude, pixels)) : 0;
        for (int x = 0; x < kSide; ++x) {
            const int sourceCol = static_cast<int>((col * kSide + x + 0.5) * side / kSide);
            const unsigned int colour = ColourOfPlace(sourceCol, sourceRow);
            const std::array<int, 4> pixel = PixelOf(*image, y, x);
            if (!covered) {
                ASSERT_EQ(pixel[3], 0) << "row " << y << " column " << x;
                continue;
            }
            ASSERT_EQ((static_cast<unsigned int>(pixel[0]) << 16U |
                       static_cast<unsigned int>(pixel[1]) << 8U |
                       static_cast<unsigned int>(pixel[2])),
                      colour)
                << "row " << y << " column " << x;
        }
    }
}

TEST(PackImage, LaysThePixelsWhereTheyBelongOnTheGeographicGrid)
{
    const TempFolder folder;
    const auto reader = FullLevel(folder, 3, 256);
    ASSERT_NE(reader, nullptr);
    // Rows 2 to 5 of 8 are the earth; each spans 45 degrees.
    for (int row = 2; row <= 5; ++row)
        for (const int col : {0, 3, 7})
            ExpectPlaces(*reader, 3, row, col, 256);
}

TEST(PackImage, TakesLargerTilesAsTheyAre)
{
    const TempFolder folder;
    const auto reader = FullLevel(folder, 2, 512);
    ASSERT_NE(reader, nullptr);
    ExpectPlaces(*reader, 2, 1, 0, 512);
    ExpectPlaces(*reader, 2, 2, 3, 512);
}

TEST(PackImage, HasNoAlphaWhereTilesCoverItAndAreOpaque)
{
    const TempFolder folder;
    const auto reader = FullLevel(folder, 3, 256);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(ReadImage(*reader, 3, 3, 1)->GetPixelSize(), 3);
    // The northernmost row of tiles reaches to the pole, beyond the stored ones.
    EXPECT_EQ(ReadImage(*reader, 3, 5, 1)->GetPixelSize(), 4);
}

TEST(PackImage, IsNullBeyondTheEarthAndBesideTheLevels)
{
    const TempFolder folder;
    const auto reader = FullLevel(folder, 3, 256);
    ASSERT_NE(reader, nullptr);
    constexpr int kPlaces[][3] = {
        {3, 0, 0}, {3, 7, 0}, {3, 8, 0}, {3, 3, -1}, {2, 1, 1}, {4, 5, 5}, {-1, 0, 0}, {31, 0, 0}};
    for (const auto& [level, row, col] : kPlaces)
        EXPECT_EQ(ReadImage(*reader, level, row, col), nullptr)
            << level << "/" << row << "/" << col;
}

TEST(PackImage, LeavesHolesTransparentWhereTilesAreMissingOrBroken)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.CreateTables();
    // Of level 2, rows 2 and 3 are the north: row 2 from the equator to 66.5 degrees.
    file.AddTile(2, 2, 0, PngOf(1, 2, 3));
    file.AddTile(2, 2, 1, PngOf(1, 2, 3));
    file.AddTile(2, 3, 1, "\x89PNG\r\n\x1a\n and nothing more");
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    for (const int col : {0, 1}) {
        const auto image = ReadImage(*reader, 2, 2, col);
        ASSERT_NE(image, nullptr);
        ASSERT_EQ(image->GetPixelSize(), 4);
        // 90 degrees in 256 rows: the middle of row 188 is the last one south of 66.51.
        EXPECT_EQ(PixelOf(*image, 0, 128), (std::array<int, 4>{1, 2, 3, 255}));
        EXPECT_EQ(PixelOf(*image, 188, 128), (std::array<int, 4>{1, 2, 3, 255}));
        EXPECT_EQ(PixelOf(*image, 189, 128), (std::array<int, 4>{0, 0, 0, 0}));
    }
    EXPECT_EQ(ReadImage(*reader, 2, 2, 2), nullptr);
}

} // namespace

} // namespace KxC
