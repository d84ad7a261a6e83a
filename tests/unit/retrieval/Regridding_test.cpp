// SPDX-License-Identifier: MIT
#include "AddressTiles.h"
#include "Sampler.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <new>
#include <numbers>

namespace KxC {
namespace {

using Testing::AddressPixel;
using Testing::kNoPixel;
using Testing::Pixel;
using Testing::PixelAt;

class FetchWMTile3 : public Testing::OutputTileTest
{
protected:
    /// The first row and column lie on the tile's edges, where rounding may take them to the
    /// neighbours'.
    static constexpr int kInside = 1;

    unsigned char Get(int x, int y, int z, int tileSize)
    {
        return KxTileFetcher::FetchWMTile3(NewOut(), &m_source, x, y, z, tileSize, 77);
    }
};

TEST(SamplePositions, EndJustInsideTheFarEdge)
{
    const std::vector<double> positions = SamplePositions(10, 13, 1, 4);
    EXPECT_EQ(positions, (std::vector<double>{10, 11, 12, 13 - 0.0001}));
    EXPECT_EQ(SamplePositions(10, 13, 3, 2), (std::vector<double>{10, 13 - 0.0003}));
    EXPECT_EQ(SamplePositions(10, 13, INFINITY, 1), std::vector<double>{10});
}

TEST(SamplePositions, AddUpTheStep)
{
    const std::vector<double> positions = SamplePositions(0, 10, 0.1, 101);
    double sum = 0;
    for (int i = 0; i < 99; ++i)
        sum += 0.1;
    EXPECT_EQ(positions[99], sum);
    EXPECT_NE(positions[99], 99 * 0.1) << "rounding adds up";
}

TEST_F(FetchWMTile3, ReproducesATileOfItsOwnGrid)
{
    ServeNone(3, 4, 3);
    Serve({3, 2, 1});
    ASSERT_EQ(Get(1, 5, 3, 256), 1);
    EXPECT_EQ(OutExt(), ".png");
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    ASSERT_EQ(image->GetWidth(), 256);
    for (int row = kInside; row < 256; ++row)
        for (int column = kInside; column < 256; ++column)
            ASSERT_EQ(PixelAt(*image, row, column), AddressPixel({3, 2, 1}, row, column));
    EXPECT_EQ(m_service.m_sent[0].m_requestParam, 77);
}

TEST_F(FetchWMTile3, ReproducesATileBilinearlyToo)
{
    KxImageData::SetBilinear(true);
    ServeNone(3, 4, 3);
    m_source.m_nTileSize = 512;
    Serve({3, 2, 1}, 512);
    ASSERT_EQ(Get(1, 5, 3, 512), 1);
    KxImageData::SetBilinear(false);
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    for (int row = kInside; row < 255; ++row)
        for (int column = kInside; column < 255; ++column)
            ASSERT_EQ(PixelAt(*image, row, column), AddressPixel({3, 2, 1}, row, column));
}

TEST_F(FetchWMTile3, JoinsTheTilesOfAFinerLevel)
{
    ServeNone(4, 7, 5);
    for (const int row : {4, 5})
        for (const int col : {2, 3})
            Serve({4, row, col});
    ASSERT_EQ(Get(1, 5, 3, 512), 1);
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    for (int row = kInside; row < 512; ++row)
        for (int column = kInside; column < 512; ++column)
            ASSERT_EQ(PixelAt(*image, row, column),
                      AddressPixel({4, 4 + row / 256, 2 + column / 256}, row % 256, column % 256))
                << row << " " << column;
}

TEST_F(FetchWMTile3, ChoosesTheSourceLevelByTheSize)
{
    const int sizes[][2] = {{256, 3}, {512, 4}, {1024, 5}, {384, 4}, {300, 3}, {64, 3}};
    for (const auto& [size, level] : sizes) {
        m_service.m_sent.clear();
        m_gWMTileDataCacheManager.Clear();
        ServeNone(level, 31, 31);
        EXPECT_EQ(Get(1, 5, 3, size), 1);
        EXPECT_EQ(Out(), nullptr) << "no picture anywhere";
        ASSERT_FALSE(Asked().empty());
        EXPECT_EQ(Asked()[0].substr(0, 10), "http://s/" + std::to_string(level)) << size;
    }
}

TEST_F(FetchWMTile3, FetchesRowByRowFromTheSouthWest)
{
    ServeNone(1, 1, 1);
    Get(0, 0, 0, 512);
    EXPECT_EQ(Asked(),
              (std::vector<std::string>{
                  "http://s/1/0/0", "http://s/1/1/0", "http://s/1/0/1", "http://s/1/1/1"}));
}

TEST_F(FetchWMTile3, SamplesTheGeographicSquare)
{
    m_source.m_nTileScheme = 9;
    ServeNone(2, 3, 3);
    for (int row = 0; row < 4; ++row)
        for (int col = 0; col < 4; ++col)
            Serve({2, row, col});
    ASSERT_EQ(Get(2, 1, 2, 300), 1);
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    int compared = 0;
    for (int row = 0; row < 299; ++row)
        for (int column = 0; column < 299; ++column) {
            // Tile (2, 1) of level 2 reaches from 0 to 90 degrees east and from 0 to pi/2 on the
            // Mercator axis; the last sample of each is left to another test.
            const double longitude = 90.0 * column / 299;
            const double latitude =
                std::asin(std::tanh(std::numbers::pi / 2 * row / 299)) * 180 / std::numbers::pi;
            const double u = (longitude + 180) / 90 * 256;
            const double v = (latitude + 180) / 90 * 256;
            if (std::abs(u - std::round(u)) < 1e-9 || std::abs(v - std::round(v)) < 1e-9)
                continue;
            const int c = static_cast<int>(u);
            const int r = static_cast<int>(v);
            ASSERT_EQ(PixelAt(*image, row, column),
                      AddressPixel({2, r / 256, c / 256}, r % 256, c % 256));
            ++compared;
        }
    EXPECT_GT(compared, 88000);
}

TEST_F(FetchWMTile3, SamplesTheLastRowAndColumnInside)
{
    ServeNone(1, 1, 1);
    Serve({1, 0, 0});
    ASSERT_EQ(Get(0, 1, 1, 64), 1);
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(PixelAt(*image, 63, 63), AddressPixel({1, 0, 0}, 255, 255));
    // 62/63 of 256 pixels.
    EXPECT_EQ(PixelAt(*image, 62, 62), AddressPixel({1, 0, 0}, 251, 251));
}

TEST_F(FetchWMTile3, MakesATileOfOnePixelFromItsSouthWestCorner)
{
    ServeNone(1, 1, 1);
    Serve({1, 1, 1});
    ASSERT_EQ(Get(1, 0, 1, 1), 1);
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->GetWidth(), 1);
    EXPECT_EQ(PixelAt(*image, 0, 0), AddressPixel({1, 1, 1}, 0, 0));
}

TEST_F(FetchWMTile3, TakesPicturesOfAnySize)
{
    ServeNone(1, 1, 1);
    Serve({1, 1, 1}, 128);
    ASSERT_EQ(Get(1, 0, 1, 256), 1);
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    for (int at = 0; at < 256; ++at)
        EXPECT_EQ(
            PixelAt(*image, at, at),
            AddressPixel({1, 1, 1}, std::min(127, at * 128 / 255), std::min(127, at * 128 / 255)));
}

TEST_F(FetchWMTile3, LeavesPlacesWithoutTileEmpty)
{
    ServeNone(4, 7, 5);
    Serve({4, 4, 2});
    Serve({4, 5, 3}, 256, 3);
    m_service.Answer(Url({4, 5, 2}), NetError_Success);
    ASSERT_EQ(Get(1, 5, 3, 512), 1);
    EXPECT_EQ(OutExt(), ".png");
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    ASSERT_EQ(image->GetPixelSize(), 4);
    EXPECT_EQ(PixelAt(*image, 10, 20), AddressPixel({4, 4, 2}, 10, 20));
    EXPECT_EQ(PixelAt(*image, 10, 300), kNoPixel);
    EXPECT_EQ(PixelAt(*image, 300, 10), kNoPixel);
    const Pixel opaque = AddressPixel({4, 5, 3}, 44, 44);
    EXPECT_EQ(PixelAt(*image, 300, 300), opaque) << "a picture without alpha is opaque";
}

TEST_F(FetchWMTile3, EncodesByAlphaAndFormat)
{
    const struct
    {
        int pixelSize;
        const char* format;
        const char* ext;
    } cases[] = {{3, "", ".jpeg"},
                 {3, "png", ".jpeg"},
                 {4, "", ".png"},
                 {4, "PNG", ".png"},
                 {4, "image/png", ".png"},
                 {4, "jpg", ".jpeg"},
                 {4, "pn", ".jpeg"}};
    for (const auto& each : cases) {
        m_gWMTileDataCacheManager.Clear();
        m_source.m_strImageFormat = each.format;
        ServeNone(4, 7, 5);
        Serve({4, 4, 2}, 256, each.pixelSize);
        ASSERT_EQ(Get(1, 5, 3, 512), 1);
        EXPECT_EQ(OutExt(), each.ext) << each.pixelSize << each.format;
        EXPECT_EQ(Decoded()->GetPixelSize(), std::string(each.ext) == ".png" ? 4 : 3);
    }
}

TEST_F(FetchWMTile3, FailsWhenOneTileFails)
{
    for (const bool memory : {true, false}) {
        KxTileFetcher::m_sbMemCacheUsed = memory ? 1 : 0;
        m_gWMTileDataCacheManager.Clear();
        m_service.m_sent.clear();
        ServeNone(1, 1, 1);
        Serve({1, 0, 0});
        Serve({1, 0, 1});
        m_service.Answer(Url({1, 1, 0}), NetError_Failure);
        EXPECT_EQ(Get(0, 0, 0, 512), 0);
        EXPECT_EQ(Out(), nullptr);
        EXPECT_EQ(m_service.m_sent.size(), 3U) << "no tile is asked for behind it";
    }
}

TEST_F(FetchWMTile3, HasNothingToDrawWithoutAnyPicture)
{
    ServeNone(1, 1, 1);
    EXPECT_EQ(Get(0, 0, 0, 512), 1);
    EXPECT_EQ(Out(), nullptr);
}

TEST_F(FetchWMTile3, AsksForNothingOutsideTheGrid)
{
    const int outside[][2] = {{-2, 3},
                              {8, 3},
                              {3, -1},
                              {3, 8},
                              {INT_MAX, 0},
                              {INT_MIN, 0},
                              {0, INT_MAX},
                              {0, INT_MIN},
                              {INT_MAX, INT_MAX},
                              {INT_MIN, INT_MIN}};
    for (const int level : {3, 0})
        for (const auto& [x, y] : outside) {
            EXPECT_EQ(Get(x, y, level, 256), 1) << level << " " << x << " " << y;
            EXPECT_EQ(Out(), nullptr);
        }
    // The geographic square goes on beyond the Mercator square's north and south edges.
    m_source.m_nTileScheme = 9;
    for (const int x : {-2, 8, INT_MAX, INT_MIN}) {
        EXPECT_EQ(Get(x, 3, 3, 256), 1) << x;
        EXPECT_EQ(Out(), nullptr);
    }
}

TEST_F(FetchWMTile3, NeverFetchesNegativeTilesOfTheBaiduGrid)
{
    for (const int scheme : {4, 13}) {
        m_service.m_sent.clear();
        m_source.m_nTileScheme = scheme;
        m_source.m_strHashKey.Format("baidu%d", scheme);
        ServeNone(2, 3, 3);
        EXPECT_EQ(Get(8, 20, 5, 256), 1) << "south-west of the origin";
        EXPECT_TRUE(Asked().empty());
        EXPECT_EQ(Get(0, 0, 0, 1024), 1);
        EXPECT_FALSE(Asked().empty());
        for (const std::string& url : Asked())
            EXPECT_EQ(url.find('-'), std::string::npos) << url;
    }
}

TEST_F(FetchWMTile3, RefusesLevelsAndSizesThatNoTileHas)
{
    auto* const something = reinterpret_cast<KxRawData*>(this);
    const auto expectRefused = [&](int z, int size) {
        KxRawData* out = something;
        EXPECT_EQ(KxTileFetcher::FetchWMTile3(out, &m_source, 0, 0, z, size, 0), 0)
            << z << " " << size;
        EXPECT_EQ(out, nullptr);
    };
    for (const int z : {INT_MIN, -1, 31, 32, INT_MAX})
        expectRefused(z, 256);
    for (const int size : {INT_MIN, -1, 0, 8193, INT_MAX})
        expectRefused(3, size);
    expectRefused(30, 512);
    for (const int size : {INT_MIN, 0, 8193}) {
        m_source.m_nTileSize = size;
        expectRefused(3, 256);
    }
    EXPECT_EQ(Requests(), 0U);
}

TEST_F(FetchWMTile3, RefusesToFetchTensOfThousandsOfTiles)
{
    m_source.m_nTileSize = 1;
    EXPECT_EQ(Get(1, 1, 2, 256), 0);
    EXPECT_EQ(Out(), nullptr);
    EXPECT_EQ(Requests(), 0U);
}

TEST_F(FetchWMTile3, LeavesTheOutputAloneForNoSource)
{
    auto* const before = reinterpret_cast<KxRawData*>(this);
    KxRawData* out = before;
    EXPECT_EQ(KxTileFetcher::FetchWMTile3(out, nullptr, 0, 0, 0, 256, 0), 0);
    EXPECT_EQ(out, before);
}

TEST_F(FetchWMTile3, FailsWhenMemoryRunsOut)
{
    m_service.DuringRequests([] { throw std::bad_alloc(); });
    EXPECT_EQ(Get(0, 0, 0, 256), 0);
    EXPECT_EQ(Out(), nullptr);
}

TEST_F(FetchWMTile3, KeepsToTheSwitchesThatItBeganWith)
{
    ServeNone(4, 7, 5);
    for (const int row : {4, 5})
        for (const int col : {2, 3})
            Serve({4, row, col});
    KxTileFetcher::m_sbMemCacheUsed = 0;
    m_service.DuringRequests([] { KxTileFetcher::m_sbMemCacheUsed = 1; });
    EXPECT_EQ(Get(1, 5, 3, 512), 1);
    EXPECT_NE(Out(), nullptr);
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 0U) << "the operation's own";
    m_service.DuringRequests([] { KxTileFetcher::m_sbMemCacheUsed = 0; });
    EXPECT_EQ(Get(1, 5, 3, 512), 1);
    EXPECT_GE(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 4U) << "the cache's";
}

TEST_F(FetchWMTile3, SamplesTilesThatTheCacheHasGivenUp)
{
    m_gWMTileDataCacheManager.SetBudget(0);
    ServeNone(4, 7, 5);
    for (const int row : {4, 5})
        for (const int col : {2, 3})
            Serve({4, row, col});
    EXPECT_EQ(Get(1, 5, 3, 512), 1);
    EXPECT_EQ(PixelAt(*Decoded(), 300, 300), AddressPixel({4, 5, 3}, 44, 44));
    m_gWMTileDataCacheManager.SetBudget(KxWMTileDataCacheManager::kDefaultBudget);
}

} // namespace
} // namespace KxC
