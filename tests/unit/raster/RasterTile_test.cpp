// SPDX-License-Identifier: MIT
#include "unit/retrieval/AddressTiles.h"
#include "unit/support/ScriptedRasters.h"

#include <gmock/gmock.h>

#include <atomic>

namespace KxC {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// Rasters stay open for the whole process: each test takes a path of its own.
std::string FreshPath(const char* ext)
{
    static std::atomic<int> count{0};
    return "/raster" + std::to_string(count++) + ext;
}

class FetchTileFromRaster : public Testing::OutputTileTest
{
protected:
    FetchTileFromRaster()
    {
        m_rasters.m_image = [](int level, int row, int col) {
            return Testing::AddressImage({level, row, col}, 256, 3);
        };
    }

    unsigned char Cut(int x, int y, int z, int tileSize = 256)
    {
        return KxTileFetcher::FetchTileFromRaster(NewOut(), m_path.c_str(), x, y, z, tileSize);
    }
    /// The tiles that were read, without the opening.
    std::vector<std::string> Read()
    {
        std::vector<std::string> calls = m_rasters.m_calls;
        if (!calls.empty() && calls.front().starts_with("Open"))
            calls.erase(calls.begin());
        return calls;
    }

    Testing::ScriptedRasters m_rasters;
    std::string m_path = FreshPath(".tif");
};

TEST_F(FetchTileFromRaster, FailsWhereTheRasterCannotBeOpened)
{
    m_rasters.m_opens = false;
    EXPECT_EQ(Cut(0, 0, 0), 0);
    EXPECT_EQ(Out(), nullptr);
    m_path = "/no.plugin";
    EXPECT_EQ(Cut(0, 0, 0), 0);
}

TEST_F(FetchTileFromRaster, TakesEachPixelFromTheGeographicSquare)
{
    ASSERT_EQ(Cut(5, 2, 3), 1);
    EXPECT_EQ(OutExt(), ".jpeg") << "nothing is missing, nothing transparent";
    // Tile 5/2/3 reaches from 40.98 to 66.51 degrees north: rows 4.91 to 5.48 of the square.
    EXPECT_THAT(Read(),
                UnorderedElementsAre("image 3/4/5", "image 3/4/6", "image 3/5/5", "image 3/5/6"));
}

TEST_F(FetchTileFromRaster, LargerTilesTakeADeeperLevel)
{
    for (const auto& [size, level] : {std::pair{256, 3}, {300, 3}, {384, 4}, {512, 4}, {1024, 5}}) {
        m_path = FreshPath(".tif");
        m_rasters.m_calls.clear();
        ASSERT_EQ(Cut(5, 2, 3, size), 1);
        ASSERT_FALSE(Read().empty());
        EXPECT_EQ(Read().front().substr(0, 8), "image " + std::to_string(level) + "/") << size;
    }
}

TEST_F(FetchTileFromRaster, HasNothingOutsideLevelsAndBounds)
{
    m_rasters.m_minLevel = 3;
    m_rasters.m_maxLevel = 3;
    EXPECT_EQ(Cut(5, 2, 2), 1);
    EXPECT_EQ(Out(), nullptr);
    EXPECT_EQ(Cut(5, 2, 4), 1);
    EXPECT_EQ(Out(), nullptr);
    EXPECT_EQ(Cut(5, 2, 3, 512), 1) << "which asks for level 4";
    EXPECT_EQ(Out(), nullptr);
    EXPECT_THAT(Read(), IsEmpty());

    m_rasters.m_bounds = {-10, 10, 0, 0};
    m_path = FreshPath(".tif");
    EXPECT_EQ(Cut(6, 2, 3), 1);
    EXPECT_EQ(Out(), nullptr);
}

TEST_F(FetchTileFromRaster, LeavesGapsTransparent)
{
    m_rasters.m_image = [](int level, int row, int col) {
        return row == 5 ? Testing::AddressImage({level, row, col}, 256, 3)
                        : std::unique_ptr<KxImageData>();
    };
    ASSERT_EQ(Cut(5, 2, 3), 1);
    EXPECT_EQ(OutExt(), ".png");
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(Testing::PixelAt(*image, 0, 0), Testing::kNoPixel) << "row 4 has no tile";
    EXPECT_EQ(Testing::PixelAt(*image, 255, 0)[3], 255);
    // The north edge, 66.51326 degrees: 5.478 of the square, so pixel floor(0.478 x 256) = 122 of
    // row 5; the west edge is column 5, pixel 0.
    const auto expected = Testing::AddressPixel({3, 5, 5}, 122, 0);
    EXPECT_EQ(Testing::PixelAt(*image, 255, 0)[0], expected[0]);
    EXPECT_EQ(Testing::PixelAt(*image, 255, 0)[1], expected[1]);
}

TEST_F(FetchTileFromRaster, HasNothingWhereNoTileHasAPicture)
{
    m_rasters.m_image = nullptr;
    EXPECT_EQ(Cut(5, 2, 3), 1);
    EXPECT_EQ(Out(), nullptr);
}

TEST_F(FetchTileFromRaster, ReadsATileOnceForNeighbours)
{
    KxTileFetcher::m_sbMemCacheUsed = 0; // the host's switch is for services
    ASSERT_EQ(Cut(5, 2, 3), 1);
    const std::size_t reads = m_rasters.m_calls.size();
    ASSERT_EQ(Cut(5, 2, 3), 1);
    EXPECT_EQ(m_rasters.m_calls.size(), reads);
}

TEST_F(FetchTileFromRaster, RefusesWhatCanBeNoTile)
{
    for (const auto& [z, size] : {std::pair{-1, 256}, {31, 256}, {3, 0}, {3, -1}, {3, 8193}}) {
        EXPECT_EQ(Cut(0, 0, z, size), 0) << z << " " << size;
        EXPECT_EQ(Out(), nullptr);
    }
    EXPECT_THAT(m_rasters.m_calls, IsEmpty());
}

class FetchStoredTile : public FetchTileFromRaster
{
protected:
    FetchStoredTile()
    {
        m_rasters.m_stored = true;
        m_rasters.m_storedBytes.assign(Testing::kTinyPng.begin(), Testing::kTinyPng.end());
        m_path = FreshPath(".mbt");
    }
};

TEST_F(FetchStoredTile, HandsOutTheStoredBytesByRowFromTheSouth)
{
    ASSERT_EQ(Cut(5, 2, 3), 1);
    EXPECT_THAT(Read(), ElementsAre("stored 3/5/5")); // 2^3 - 2 - 1
    ASSERT_NE(Out(), nullptr);
    EXPECT_EQ(OutExt(), ".png");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(Out()->GetData()), Out()->GetSize()),
              m_rasters.m_storedBytes);
}

TEST_F(FetchStoredTile, TellsNoTileFromAFailure)
{
    m_rasters.m_storedBytes.clear();
    EXPECT_EQ(Cut(5, 2, 3), 1);
    EXPECT_EQ(Out(), nullptr);
    m_rasters.m_storedBytes = "half of something";
    m_rasters.m_readStatus = 4;
    EXPECT_EQ(Cut(5, 2, 3), 0);
    EXPECT_EQ(Out(), nullptr);
}

TEST_F(FetchStoredTile, HasNoRowsBeyondTheGrid)
{
    for (const int y : {-1, 8, INT_MIN, INT_MAX}) {
        EXPECT_EQ(Cut(5, y, 3), 1) << y;
        EXPECT_EQ(Out(), nullptr);
    }
    EXPECT_THAT(Read(), IsEmpty());
}

class FetchRasterData : public FetchTileFromRaster
{
protected:
    KxRasterDataAccessor* Open()
    {
        return m_gRasterAccessorManager.OpenDataAccessor(m_path.c_str());
    }
};

TEST_F(FetchRasterData, KeepsTilesInTheMemoryCache)
{
    KxRasterDataAccessor* accessor = Open();
    KxWMImageTileData* first = nullptr;
    ASSERT_EQ(KxTileFetcher::FetchRasterData(first, accessor, m_path.c_str(), 6, 4, 3), 1);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->GetLevel(), 3);
    EXPECT_EQ(first->GetRow(), 4);
    EXPECT_EQ(first->GetCol(), 6);
    KxWMImageTileData* again = nullptr;
    ASSERT_EQ(KxTileFetcher::FetchRasterData(again, accessor, m_path.c_str(), 6, 4, 3), 1);
    EXPECT_EQ(again, first);
    EXPECT_THAT(Read(), ElementsAre("image 3/4/6"));
}

TEST_F(FetchRasterData, AnswersZeroWithoutAPicture)
{
    m_rasters.m_image = [](int, int, int) { return std::unique_ptr<KxImageData>(); };
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(KxTileFetcher::FetchRasterData(tile, Open(), m_path.c_str(), 6, 4, 3), 0);
    EXPECT_EQ(tile, nullptr);
    EXPECT_EQ(KxTileFetcher::FetchRasterData(tile, nullptr, m_path.c_str(), 6, 4, 3), 0);
}

} // namespace
} // namespace KxC
