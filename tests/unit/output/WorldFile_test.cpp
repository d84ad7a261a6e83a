// SPDX-License-Identifier: MIT
#include "KxTileFetcher.h"
#include "unit/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace KxC {
namespace {

class WorldFile : public ::testing::Test
{
protected:
    std::string Written(int x, int y, int z, int tileSize)
    {
        const std::string path = m_folder.Path() / "t.pgw";
        KxTileFetcher::WriteWorldFile(path.c_str(), x, y, z, tileSize);
        std::ifstream file(path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    Testing::TemporaryFolder m_folder;
};

TEST_F(WorldFile, HasSixLinesOfTheWholeWorld)
{
    // 156543.03392804097 in single precision is 156543.03125.
    EXPECT_EQ(Written(0, 0, 0, 256),
              "156543.031250\n0\n0\n-156543.031250\n-20037508.342789\n20037508.342789\n");
}

TEST_F(WorldFile, RoundsTheSizeToSinglePrecisionAndSixDigits)
{
    // 0.0373227677... metres a pixel; the corners are those of the tile, not of a pixel's middle.
    EXPECT_EQ(Written(1 << 21, 1 << 21, 22, 256),
              "0.037323\n0\n0\n-0.037323\n0.000000\n0.000000\n");
}

TEST_F(WorldFile, TakesRowsFromTheNorth)
{
    // Level 1: the south-eastern quarter begins at the origin.
    EXPECT_EQ(Written(1, 1, 1, 512), "39135.757812\n0\n0\n-39135.757812\n0.000000\n0.000000\n");
}

TEST_F(WorldFile, HasPointsWhateverTheProcessesLocale)
{
    const std::string before = std::setlocale(LC_ALL, nullptr);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma here";
    const std::string text = Written(1, 1, 1, 512);
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_EQ(text, "39135.757812\n0\n0\n-39135.757812\n0.000000\n0.000000\n");
}

TEST_F(WorldFile, TakesTheNumbersThatPrintfWrites)
{
    for (const auto& [x, y, z, size] : {std::array{3, 5, 4, 300},
                                        {26979, 12416, 15, 256},
                                        {0, (1 << 30) - 1, 30, 8192},
                                        {-7, 2, 3, 1}}) {
        const double edge = 2.0 * 20037508.342789244 / std::ldexp(1.0, z);
        const double pixel = static_cast<double>(static_cast<float>(edge / size));
        std::array<char, 400> expected{};
        std::snprintf(expected.data(),
                      expected.size(),
                      "%f\n%d\n%d\n%f\n%f\n%f\n",
                      pixel,
                      0,
                      0,
                      -pixel,
                      x * edge - 20037508.342789244,
                      20037508.342789244 - y * edge);
        EXPECT_EQ(Written(x, y, z, size), expected.data());
    }
}

TEST_F(WorldFile, IsSilentWhereItCannotBeWritten)
{
    KxTileFetcher::WriteWorldFile((m_folder.Path() / "none/t.pgw").c_str(), 0, 0, 0, 256);
    EXPECT_EQ(Written(0, 0, 31, 256), "");
    EXPECT_EQ(Written(0, 0, -1, 256), "");
}

TEST(ImgExt2WorldFileExt, FollowsItsTable)
{
    const auto of = [](const char* ext) {
        return std::string(KxTileFetcher::ImgExt2WorldFileExt(ext).Cstr());
    };
    EXPECT_EQ(of(".jpeg"), "jgw");
    EXPECT_EQ(of(".jpg"), "jgw");
    EXPECT_EQ(of(".png"), "pgw");
    EXPECT_EQ(of(".PNG"), "pgw");
    EXPECT_EQ(of(".png8"), "jgw");
    EXPECT_EQ(of(".Tif"), "tfw");
    for (const char* other : {".gif", ".tiff", ".webp", "png", "", "."})
        EXPECT_EQ(of(other), "") << other;
}

} // namespace
} // namespace KxC
