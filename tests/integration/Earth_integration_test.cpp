// SPDX-License-Identifier: MIT
#include "KxGeFetcher.h"
#include "OriginTest.h"

#include <cmath>
#include <map>
#include <set>

namespace KxC {
namespace {

/// Earth imagery of the origin's own earth server.
class EarthOverHttp : public Testing::OriginTest
{
protected:
    struct Answer
    {
        int result = -1;
        unsigned int size = 0;
        KxGeFetchInfo info;
    };

    EarthOverHttp() { Use("/earth"); }
    ~EarthOverHttp() override { KxGeFetcher::SetServer(""); }

    void Use(const std::string& path) { KxGeFetcher::SetServer(m_origin.Url(path).c_str()); }

    static int IndexOf(double degrees, int level)
    {
        return static_cast<int>(std::floor((degrees + 180) / 360 * std::ldexp(1.0, level)));
    }

    static Answer At(double lon, double lat, int level, const KxTime* date = nullptr)
    {
        KxGeFetcher fetcher;
        if (date != nullptr) {
            fetcher.SetHistroyDataUsed(1);
            fetcher.SetDataTime(*date);
        }
        KxRawData data;
        KxString info;
        const NetError result = fetcher.FetchImageRawData(
            data, level, IndexOf(lat, level), IndexOf(lon, level), info, 0);
        return {result, data.GetSize(), KxGeFetcher::GetLastFetchInfo()};
    }

    static int LevelOf(const Answer& answer)
    {
        EXPECT_EQ(answer.result, NetError_Success) << answer.info.m_strCause.Cstr();
        return answer.info.m_nLevel;
    }

    /// The path of the last request.
    std::string LastPath() const { return m_origin.Requests().back()["path"]; }

    static std::string Days(double lon, double lat, int level)
    {
        std::vector<KxTime> dates;
        const int result =
            KxGeFetcher().ListDates(dates, level, IndexOf(lat, level), IndexOf(lon, level));
        std::string text = std::to_string(result) + ":";
        for (const KxTime& date : dates)
            text += " " + std::to_string(date.GetYear());
        return text;
    }

    KxTSDParamItem& Earth()
    {
        KxTSDParamItem& source = Source("/earth", 8);
        return source;
    }
};

TEST_F(EarthOverHttp, ShowsTheGeographicPicture)
{
    Use("/earth-with/png");
    KxTSDParamItem& geographic = Source("/geographic/marble/{$z}/{$x}/{$y}.png", 9);
    KxTSDParamItem& earth = Earth();
    for (const auto& [row, col] : {std::pair{4, 3}, {5, 6}, {3, 1}}) {
        const Testing::Pixels expected = Fetch(geographic, 3, row, col);
        ASSERT_FALSE(expected.empty());
        EXPECT_EQ(Fetch(earth, 3, row, col), expected) << row << " " << col;
    }
}

TEST_F(EarthOverHttp, ReachesTheDeepestLevel)
{
    for (const int level : {0, 1, 3, 4, 7, 8, 10, 11, 15, 20})
        EXPECT_EQ(LevelOf(At(116.4, 39.9, level)), level);
    EXPECT_EQ(LevelOf(At(116.4, 39.9, 23)), 20) << "cut";
    EXPECT_EQ(LevelOf(At(-100, 40, 12)), 10) << "cut";
    EXPECT_EQ(At(-100, 40, 19).result, NetError_NoData) << "too far below";
}

TEST_F(EarthOverHttp, CutsWhereNodesOrPicturesAreMissing)
{
    EXPECT_EQ(LevelOf(At(-138, -20, 5)), 5);
    EXPECT_EQ(LevelOf(At(-138, -20, 8)), 5);
    EXPECT_EQ(LevelOf(At(23, 1, 7)), 6);
    EXPECT_EQ(LevelOf(At(23, 1, 8)), 8);
}

TEST_F(EarthOverHttp, CutsTheVeryPlaceOutOfThePictureAbove)
{
    Use("/earth-with/png,graticule");
    KxTSDParamItem& earth = Earth();
    const int row = IndexOf(-20, 6);
    const int col = IndexOf(-138, 6);
    const Testing::Pixels above = Fetch(earth, 5, row / 2, col / 2);
    const Testing::Pixels part = Fetch(earth, 6, row, col);
    const std::size_t bytes = above.size() / (256 * 256);
    ASSERT_EQ(part.size(), above.size());
    for (std::size_t y = 0; y < 256; ++y)
        for (std::size_t x = 0; x < 256; ++x) {
            const std::size_t aboveY = static_cast<std::size_t>(row % 2) * 128 + y / 2;
            const std::size_t aboveX = static_cast<std::size_t>(col % 2) * 128 + x / 2;
            ASSERT_EQ(part[(y * 256 + x) * bytes], above[(aboveY * 256 + aboveX) * bytes]);
        }
}

TEST_F(EarthOverHttp, ListsTheDatesOfAPlace)
{
    EXPECT_EQ(Days(116.4, 39.9, 12), "0: 2022 2019 2012 2004");
    EXPECT_EQ(Days(116.4, 39.9, 13), "0: 2022 2019 2004");
    EXPECT_EQ(Days(-100, 40, 8), "0: 2022 2019 2012");
    EXPECT_EQ(Days(116.4, 39.9, 2), "7:");
    EXPECT_EQ(Days(-100, 40, 15), "7:");
}

TEST_F(EarthOverHttp, TakesTheNewestImageNotAfterTheDate)
{
    struct Case
    {
        KxTime wanted;
        const char* ending;
        int year;
    };
    for (const Case& one : {Case{{2010, 1, 1}, "-fa8ee", 2004},
                            Case{{2012, 5, 29}, "-fa8ee", 2004},
                            Case{{2012, 5, 30}, "-fb8be", 2012},
                            Case{{2022, 3, 4}, "-fc728", 2019}}) {
        const Answer answer = At(116.4, 39.9, 8, &one.wanted);
        EXPECT_EQ(answer.result, NetError_Success) << answer.info.m_strCause.Cstr();
        EXPECT_EQ(answer.info.m_time.GetYear(), one.year);
        EXPECT_NE(LastPath().find(one.ending), std::string::npos) << LastPath();
    }
    const KxTime late(2023, 1, 1);
    EXPECT_EQ(At(116.4, 39.9, 8, &late).info.m_time.GetYear(), 2022) << "the current picture";
    const KxTime early(2000, 1, 1);
    EXPECT_EQ(At(116.4, 39.9, 8, &early).result, NetError_NoData);
    EXPECT_EQ(LevelOf(At(116.4, 39.9, 2, &early)), 2) << "undated";
}

TEST_F(EarthOverHttp, UnderstandsEveryForm)
{
    const KxTime date(2020, 1, 1);
    for (const char* options : {"proto",
                                "png",
                                "alpha",
                                "plain",
                                "swapped",
                                "anyversion",
                                "empty",
                                "proto,plain",
                                "proto,png,swapped",
                                "alpha,plain,empty"}) {
        Use(std::string("/earth-with/") + options);
        EXPECT_EQ(LevelOf(At(116.4, 39.9, 12)), 12) << options;
        EXPECT_EQ(LevelOf(At(116.4, 39.9, 12, &date)), 12) << options;
        EXPECT_EQ(LevelOf(At(-138, -20, 8)), 5) << options;
    }
}

TEST_F(EarthOverHttp, JoinsPictureAndAlpha)
{
    Use("/earth-with/alpha");
    const Testing::Pixels pixels = Fetch(Earth(), 3, 4, 3);
    ASSERT_EQ(pixels.size(), 4U * 256 * 256);
    for (std::size_t x = 0; x < 256; ++x)
        EXPECT_EQ(pixels[4 * (100 * 256 + x) + 3], x < 128 ? 255 : 0) << x;
}

TEST_F(EarthOverHttp, FailsForEveryFault)
{
    const std::map<std::string, std::set<std::string>> faults{
        {"dbroot",
         {"truncated",
          "empty",
          "html",
          "noise",
          "wrong-key",
          "counts",
          "deep",
          "wrong-magic",
          "wrong-size",
          "huge-size",
          "short-stream",
          "bomb",
          "hidden-bomb",
          "no-key",
          "short-key"}},
        {"quadtree",
         {"truncated",
          "empty",
          "html",
          "noise",
          "wrong-key",
          "counts",
          "deep",
          "wrong-magic",
          "wrong-size",
          "huge-size",
          "short-stream",
          "bomb",
          "hidden-bomb"}},
        {"image", {"html", "noise", "counts", "deep"}}};
    const KxTime date(2020, 1, 1);
    for (const auto& [part, kinds] : faults)
        for (const std::string& kind : kinds) {
            const std::string fault = part + "-" + kind;
            Use("/earth-broken/" + fault);
            for (const KxTime* wanted : {static_cast<const KxTime*>(nullptr), &date}) {
                const Answer answer = At(116.4, 39.9, 8, wanted);
                EXPECT_EQ(answer.result, NetError_Failure) << fault;
                EXPECT_EQ(answer.size, 0U);
                EXPECT_FALSE(answer.info.m_strCause.IsEmpty()) << fault;
            }
        }
}

TEST_F(EarthOverHttp, MakesTheBestOfLesserFaults)
{
    Use("/earth-broken/image-wrong-key");
    EXPECT_EQ(LevelOf(At(116.4, 39.9, 8)), 8) << "the other database's key opens it";
    Use("/earth-broken/image-empty");
    EXPECT_EQ(At(116.4, 39.9, 8).result, NetError_NoData);
    Use("/earth-broken/quadtree-no-packet");
    EXPECT_EQ(LevelOf(At(116.4, 39.9, 8)), 3) << "cut from what the root packet knows";
    // In the form that numbers its nodes, a child that does not follow is one that is not there.
    Use("/earth-broken/quadtree-missing");
    const KxTime date(2020, 1, 1);
    EXPECT_EQ(At(116.4, 39.9, 8).result, NetError_Failure);
    EXPECT_LT(LevelOf(At(116.4, 39.9, 8, &date)), 8);
    Use("/earth-broken/quadtree-endless");
    EXPECT_NE(At(116.4, 39.9, 30).result, -1) << "it ends";
    Use("/earth-broken/image-half");
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &Earth(), 8, 156, 210, 0), NetError_Failure);
}

TEST_F(EarthOverHttp, FailsWithoutTheServersHeader)
{
    Use("/earth-with/key");
    const Answer answer = At(116.4, 39.9, 8);
    EXPECT_EQ(answer.result, NetError_Failure);
    EXPECT_NE(std::string(answer.info.m_strCause.Cstr()).find("403"), std::string::npos);
}

TEST_F(EarthOverHttp, ReadsNoPacketTwice)
{
    const KxTime date(2020, 1, 1);
    for (int i = 0; i < 3; ++i)
        At(116.4, 39.9, 20, &date);
    std::map<std::string, int> packets;
    for (const auto& request : m_origin.Requests())
        if (request["path"].get<std::string>().find("f1-") == std::string::npos)
            ++packets[request["path"]];
    EXPECT_EQ(packets.size(), 7U) << "the dbRoot, and packets at levels 0, 3, 7, 11, 15 and 19";
    for (const auto& [path, count] : packets)
        EXPECT_EQ(count, 1) << path;
}

TEST_F(EarthOverHttp, RemembersOnDiskWhereThereIsNothing)
{
    KxTileFetcher::m_sbMemCacheUsed = 0;
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    KxTSDParamItem source;
    source.LoadFromParam(
        m_origin.Url("/earth").c_str(), "", 8, 0, 0, 0, 256, "jpeg", 1, KxTime(2000, 1, 1));
    KxWMImageTileData* tile = nullptr;
    const int row = IndexOf(39.9, 8);
    const int col = IndexOf(116.4, 8);
    ASSERT_EQ(KxTileFetcher::FetchWMData(tile, &source, 8, row, col, 0), NetError_Success);
    ASSERT_NE(tile, nullptr);
    EXPECT_EQ(tile->GetImage(), nullptr);
    delete tile;
    EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &source, 8, row, col, 0), NetError_NoData);
}

} // namespace
} // namespace KxC
