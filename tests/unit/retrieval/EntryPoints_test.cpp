// SPDX-License-Identifier: MIT
#include "AddressTiles.h"

namespace KxC {
namespace {

class FetchWMTileByParam : public Testing::OutputTileTest
{
protected:
    FetchWMTileByParam() { KxTileFetcher::m_sbMemCacheUsed = 0; }

    unsigned char Get(int tileSize)
    {
        m_service.m_sent.clear();
        return KxTileFetcher::FetchWMTileByParam(NewOut(), &m_source, 1, 5, 3, tileSize, 9);
    }
    /// Every tile of levels 3 and 4 answers that there is none.
    void ServeAll()
    {
        ServeNone(3, 7, 7);
        ServeNone(4, 15, 15);
    }
};

TEST_F(FetchWMTileByParam, DownloadsTilesThatAreTheWantedOnes)
{
    // Only a direct download asks for the row as it is given, 5 from the north.
    m_service.Answer("http://s/3/1/5", NetError_NoData);
    m_service.Answer("http://q/203", NetError_NoData);
    m_source.m_nSouthToNorth = 0;
    for (const int scheme : {3, 6, 10}) {
        m_source.m_nTileScheme = scheme;
        m_source.m_strUrlTemplate = scheme == 6 ? "http://q/%s" : "http://s/%d/%d/%d";
        EXPECT_EQ(Get(256), 1);
        ASSERT_NE(Out(), nullptr) << "a download without bytes is an empty one";
        EXPECT_EQ(Out()->GetSize(), 0U);
        EXPECT_EQ(m_source.m_nSouthToNorth, 0);
        EXPECT_EQ(Requests(), 1U);
    }
}

TEST_F(FetchWMTileByParam, RegridsOtherSchemesAndSizes)
{
    ServeAll();
    for (const int scheme : {0, 4, 5, 9, 11, 13, 14, -1}) {
        m_source.m_nTileScheme = scheme;
        EXPECT_EQ(Get(256), 1);
        EXPECT_EQ(Out(), nullptr) << scheme;
    }
    m_source.m_nTileScheme = 10;
    EXPECT_EQ(Get(512), 1);
    EXPECT_EQ(Out(), nullptr);
    EXPECT_EQ(Asked()[0].substr(0, 11), "http://s/4/");
}

TEST_F(FetchWMTileByParam, JoinsShiftedTilesOfTheSameSize)
{
    ServeAll();
    m_source.m_nDatum = 1;
    m_source.m_nTileScheme = 11; // on the geographic square: what is asked tells the two ways apart
    EXPECT_EQ(Get(256), 1);
    const std::vector<std::string> joined = Asked();
    EXPECT_LE(joined.size(), 4U);
    EXPECT_EQ(KxTileFetcher::FetchWMTile5(NewOut(), &m_source, 1, 5, 3, 256, 9), 1);
    m_service.m_sent.erase(m_service.m_sent.begin(),
                           m_service.m_sent.begin() + static_cast<std::ptrdiff_t>(joined.size()));
    EXPECT_EQ(Asked(), joined);
    EXPECT_EQ(Get(512), 1);
    EXPECT_EQ(Asked()[0].substr(0, 11), "http://s/4/") << "re-gridded";
}

TEST_F(FetchWMTileByParam, LeavesTheOutputAloneForNoSource)
{
    auto* const before = reinterpret_cast<KxRawData*>(this);
    KxRawData* out = before;
    EXPECT_EQ(KxTileFetcher::FetchWMTileByParam(out, nullptr, 0, 0, 0, 256, 0), 0);
    EXPECT_EQ(out, before);
}

class FetchWMTile : public Testing::OutputTileTest
{
};

TEST_F(FetchWMTile, MakesTheSourceFromParameters)
{
    m_service.Answer("http://made/a/5/1/6", NetError_Success, Testing::kTinyPng);
    EXPECT_EQ(KxTileFetcher::FetchWMTile(NewOut(),
                                         "http://made/{$serverpart}/{$z}/{$x}/{$y}",
                                         "a",
                                         1,
                                         6,
                                         3,
                                         10,
                                         0,
                                         0,
                                         2,
                                         128,
                                         128,
                                         "png",
                                         55),
              1);
    ASSERT_NE(Out(), nullptr);
    EXPECT_EQ(Testing::Bytes(Out()->GetData(), Out()->GetData() + Out()->GetSize()),
              Testing::kTinyPng);
    EXPECT_EQ(OutExt(), ".png");
    EXPECT_EQ(m_service.m_sent[0].m_requestParam, 55);
}

TEST_F(FetchWMTile, TakesASourceByItsFile)
{
    const KxString path = m_folder.Write("a.toml", "").c_str();
    EXPECT_EQ(KxTileFetcher::FetchWMTile2(NewOut(), path, 0, 0, 0, 512, 0), 1)
        << "a file that does not load has no tiles";
    EXPECT_EQ(Out(), nullptr);
    EXPECT_EQ(Requests(), 0U);
}

TEST_F(FetchWMTile, RegridsHistoryImagery)
{
    m_service.AnswerEarth(NetError_Success,
                          Testing::EncodePng(*Testing::AddressImage({0, 0, 0}, 256, 3)));
    const KxTime day(2019, 3, 7);
    EXPECT_EQ(KxTileFetcher::FetchGEHistoryTile(NewOut(), "http://earth", day, 0, 0, 0, 256, 0), 1);
    EXPECT_EQ(OutExt(), ".jpeg");
    EXPECT_EQ(m_service.m_earthSent.size(), 1U);
    EXPECT_TRUE(m_service.m_sent.empty()) << "never a direct download";
    KxTSDParamItem* source =
        m_gTSDParamManager.GetTSDParam("http://earth", "", 0, 0, 0, 0, 1, "", 1, day);
    EXPECT_EQ(source->m_nTileScheme, 8);
    EXPECT_EQ(source->m_nTileSize, 256);
    EXPECT_NE(source->m_bHistoryDataUsed, 0);
}

} // namespace
} // namespace KxC
