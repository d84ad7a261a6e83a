// SPDX-License-Identifier: MIT
#include "OriginTest.h"

#include <thread>

namespace KxC {
namespace {

using Testing::Pixels;

class FetchOverHttp : public Testing::OriginTest
{
protected:
    /// The tile that every convention must show: level 4, row 6 from the south (9 from the north),
    /// column 10. The graticule differs wherever the place does.
    Pixels Reference() { return Fetch(Source("/xyz/graticule/{$z}/{$x}/{$y}.png"), 4, 6, 10); }
};

TEST_F(FetchOverHttp, AsksForTheServicesRow)
{
    ASSERT_FALSE(Reference().empty());
    ASSERT_EQ(m_origin.Requests().size(), 1U);
    EXPECT_EQ(m_origin.Requests()[0]["path"], "/xyz/graticule/4/10/9.png");
    EXPECT_EQ(m_origin.Requests()[0]["user_agent"].get<std::string>().substr(0, 7), "KxTile/");
}

TEST_F(FetchOverHttp, ShowsTheSamePlaceInEveryConvention)
{
    const Pixels reference = Reference();
    ASSERT_EQ(reference.size(), 256U * 256U * 3U);
    KxTSDParamItem& south = Source("/tms/graticule/{$z}/{$x}/{$y}.png", 10, 1);
    EXPECT_EQ(Fetch(south, 4, 6, 10), reference);
    EXPECT_EQ(Fetch(Source("/quadkey/graticule/%s.png", 6), 4, 6, 10), reference);
    KxTSDParamItem& offset = Source("/offset/graticule/3/{$z}/{$x}/{$y}.png");
    offset.m_nLevelOffset = 3;
    EXPECT_EQ(Fetch(offset, 4, 6, 10), reference);
    const char* const orders[] = {"zxy/{$z}/{$x}/{$y}",
                                  "xyz/{$x}/{$y}/{$z}",
                                  "zyx/{$z}/{$y}/{$x}",
                                  "xzy/{$x}/{$z}/{$y}",
                                  "yxz/{$y}/{$x}/{$z}",
                                  "yzx/{$y}/{$z}/{$x}"};
    for (const std::string order : orders)
        EXPECT_EQ(Fetch(Source("/axis/graticule/" + order + ".png"), 4, 6, 10), reference) << order;
}

TEST_F(FetchOverHttp, ShowsThreeQuarterRowsInTheGeographicGrid)
{
    // The same tile by the grid's own count of rows from its south edge, and by TianDiTu's.
    KxTSDParamItem& south = Source("/geographic-tms/graticule/{$z}/{$x}/{$y}.png", 9, 1);
    const Pixels reference = Fetch(south, 4, 6, 10);
    ASSERT_FALSE(reference.empty());
    for (const int scheme : {5, 14}) {
        KxTSDParamItem& threeQuarter = Source("/tianditu/graticule/{$z}/{$x}/{$y}.png", scheme);
        threeQuarter.m_strHashKey.Format("scheme%d", scheme);
        EXPECT_EQ(Fetch(threeQuarter, 4, 6, 10), reference);
    }
    EXPECT_EQ(m_origin.Requests().back()["path"], "/tianditu/graticule/4/10/5.png");
}

TEST_F(FetchOverHttp, DecodesEveryFormatAndInflates)
{
    const Pixels reference = Reference();
    for (const char* ext : {"jpg", "webp"}) {
        const Pixels pixels =
            Fetch(Source(std::string("/xyz/graticule/{$z}/{$x}/{$y}.") + ext), 4, 6, 10);
        ASSERT_EQ(pixels.size(), reference.size());
        double difference = 0;
        for (std::size_t i = 0; i < pixels.size(); ++i)
            difference += std::abs(pixels[i] - reference[i]);
        EXPECT_LT(difference / static_cast<double>(pixels.size()), 8.0) << ext;
    }
    KxTSDParamItem& gzip = Source("/gzip/graticule/{$z}/{$x}/{$y}.png");
    gzip.m_strImageFormat = "png gzip";
    EXPECT_EQ(Fetch(gzip, 4, 6, 10), reference);
    KxTSDParamItem& bomb = Source("/gzip-bomb/graticule/{$z}/{$x}/{$y}.png");
    bomb.m_strImageFormat = "png gzip";
    EXPECT_EQ(Fetch(bomb, 4, 6, 10), Pixels()) << "it inflates to more than twice its size";
}

TEST_F(FetchOverHttp, AsksServersInTurn)
{
    m_sources.push_back(std::make_unique<KxTSDParamItem>());
    KxTSDParamItem& source = *m_sources.back();
    // The server part is a piece of the path here; templates may use it anywhere before the
    // numbers.
    source.LoadFromParam(m_origin.Url("/server/{$serverpart}/marble/{$z}/{$x}/{$y}.jpg").c_str(),
                         "a,b c",
                         10,
                         0,
                         0,
                         0,
                         256,
                         "",
                         0,
                         KxTime());
    for (int col = 0; col < 6; ++col)
        EXPECT_FALSE(Fetch(source, 4, 6, col).empty());
    std::string servers;
    for (const nlohmann::json& request : m_origin.Requests())
        servers += request["path"].get<std::string>().at(8);
    EXPECT_NE(std::string("abcabcabc").find(servers), std::string::npos) << servers;
}

TEST_F(FetchOverHttp, SendsHeadersAndUserAgent)
{
    KxTSDParamItem& keyed = Source("/key/marble/{$z}/{$x}/{$y}.jpg");
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &keyed, 2, 1, 1, 0), NetError_Failure);
    EXPECT_EQ(KxNetGetch::GetLastRequestInfo().m_nHttpStatus, 403);
    keyed.m_arrRequestHeaders.Add("X-Api-Key: let-me-in");
    EXPECT_FALSE(Fetch(keyed, 2, 1, 1).empty());
    KxTSDParamItem& agent = Source("/agent-is/Some-Client/marble/{$z}/{$x}/{$y}.jpg");
    EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &agent, 2, 1, 1, 0), NetError_Failure);
    agent.m_strUserAgent = "Some-Client";
    EXPECT_FALSE(Fetch(agent, 2, 1, 1).empty());
    KxTSDParamItem& fixed = Source("/agent-is/kh_lt%2FLT3.0.0762/marble/{$z}/{$x}/{$y}.jpg", 3);
    EXPECT_FALSE(Fetch(fixed, 2, 1, 1).empty());
}

TEST_F(FetchOverHttp, TakesTheWaysOfSayingThatThereIsNoTile)
{
    for (const char* path : {"/status/404/{$z}/{$x}/{$y}",
                             "/status/410/{$z}/{$x}/{$y}",
                             "/status/204/{$z}/{$x}/{$y}",
                             "/empty/marble/{$z}/{$x}/{$y}.png"}) {
        KxWMImageTileData* tile = nullptr;
        EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &Source(path), 2, 1, 1, 0), NetError_Success);
        ASSERT_NE(tile, nullptr) << path;
        EXPECT_EQ(tile->GetImage(), nullptr) << path;
    }
}

TEST_F(FetchOverHttp, FailsOnWhatIsNoPicture)
{
    for (const char* path : {"/status/403/{$z}/{$x}/{$y}",
                             "/truncated/marble/{$z}/{$x}/{$y}.png",
                             "/truncated/marble/{$z}/{$x}/{$y}.jpg",
                             "/truncated/marble/{$z}/{$x}/{$y}.webp",
                             "/html/marble/{$z}/{$x}/{$y}.png"}) {
        KxWMImageTileData* tile = nullptr;
        EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &Source(path), 2, 1, 1, 0), NetError_Failure)
            << path;
        EXPECT_EQ(tile, nullptr);
    }
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 0U);
}

TEST_F(FetchOverHttp, AsksOncePerTileThroughBothCaches)
{
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    KxTSDParamItem& source = Source("/xyz/marble/{$z}/{$x}/{$y}.png");
    const Pixels first = Fetch(source, 3, 4, 4);
    EXPECT_EQ(Fetch(source, 3, 4, 4), first) << "from memory";
    m_gWMTileDataCacheManager.Clear();
    EXPECT_EQ(Fetch(source, 3, 4, 4), first) << "from disk";
    EXPECT_EQ(m_origin.Requests().size(), 1U);
    KxTSDParamItem& missing = Source("/status/404/{$z}/{$x}/{$y}");
    KxWMImageTileData* tile = nullptr;
    KxTileFetcher::FetchWMData(tile, &missing, 3, 4, 4, 0);
    m_gWMTileDataCacheManager.Clear();
    EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &missing, 3, 4, 4, 0), NetError_NoData);
    EXPECT_EQ(tile, nullptr);
    EXPECT_EQ(m_origin.Requests().size(), 2U);
}

TEST_F(FetchOverHttp, KeepsOneConnectionPerThread)
{
    KxTSDParamItem& source = Source("/xyz/marble/{$z}/{$x}/{$y}.png");
    std::thread([&] {
        for (int col = 0; col < 4; ++col)
            Fetch(source, 3, 4, col);
    }).join();
    const auto requests = m_origin.Requests();
    ASSERT_EQ(requests.size(), 4U);
    for (const nlohmann::json& request : requests)
        EXPECT_EQ(request["connection"], requests[0]["connection"]);
}

TEST_F(FetchOverHttp, ServesManyThreadsWithASmallMemoryBudget)
{
    KxTSDParamItem& source = Source("/xyz/graticule/{$z}/{$x}/{$y}.png");
    std::vector<Pixels> expected;
    for (int col = 0; col < 8; ++col)
        expected.push_back(Fetch(source, 3, 4, col));
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    m_gWMTileDataCacheManager.SetBudget(1U << 20);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 24; ++i) {
                const int col = (thread + i) % 8;
                EXPECT_EQ(Fetch(source, 3, 4, col), expected[static_cast<std::size_t>(col)]);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_LE(m_gWMTileDataCacheManager.GetStatistics().m_nBytes, 1U << 20);
    m_gWMTileDataCacheManager.SetBudget(KxWMTileDataCacheManager::kDefaultBudget);
}

} // namespace
} // namespace KxC
