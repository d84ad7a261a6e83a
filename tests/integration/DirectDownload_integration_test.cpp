// SPDX-License-Identifier: MIT
#include "OriginTest.h"

namespace KxC {
namespace {

class DownloadOverHttp : public Testing::OriginTest
{
protected:
    /// Column 10, row 9 as the service counts, level 4.
    unsigned char Get(KxTSDParamItem& source)
    {
        KxRawData* raw = nullptr;
        const unsigned char result = KxTileFetcher::FetchWMTile4(raw, &source, 10, 9, 4, 256, 0);
        m_tile.reset(raw);
        return result;
    }

    std::unique_ptr<KxRawData> m_tile;
};

TEST_F(DownloadOverHttp, TakesTheRowAsItIsGiven)
{
    for (const int southToNorth : {0, 1}) {
        KxTSDParamItem& source = Source("/xyz/marble/{$z}/{$x}/{$y}.jpg", 10, southToNorth);
        ASSERT_EQ(Get(source), 1);
        EXPECT_STREQ(m_tile->GetExt().Cstr(), ".jpeg");
        EXPECT_EQ(m_origin.Requests().back()["path"], "/xyz/marble/4/10/9.jpg");
        EXPECT_EQ(source.m_nSouthToNorth, southToNorth);
        EXPECT_EQ(m_origin.Requests().back()["bytes"], m_tile->GetSize());
    }
}

TEST_F(DownloadOverHttp, TellsEveryFormat)
{
    ASSERT_EQ(Get(Source("/xyz/marble/{$z}/{$x}/{$y}.png")), 1);
    EXPECT_STREQ(m_tile->GetExt().Cstr(), ".png");
    ASSERT_EQ(Get(Source("/xyz/marble/{$z}/{$x}/{$y}.webp")), 1);
    EXPECT_STREQ(m_tile->GetExt().Cstr(), ".webp");
}

TEST_F(DownloadOverHttp, SendsTheSourcesOwnAgentForSchemeThree)
{
    KxTSDParamItem& source = Source("/agent-is/mine/marble/{$z}/{$x}/{$y}.jpg", 3);
    source.m_strUserAgent = "mine";
    EXPECT_EQ(Get(source), 1);
}

TEST_F(DownloadOverHttp, HandsBackNoBytesWhereThereIsNoTile)
{
    for (const char* path : {"/status/404/{$z}/{$x}/{$y}",
                             "/status/204/{$z}/{$x}/{$y}",
                             "/empty/marble/{$z}/{$x}/{$y}.png"}) {
        EXPECT_EQ(Get(Source(path)), 1);
        ASSERT_NE(m_tile, nullptr) << path;
        EXPECT_EQ(m_tile->GetSize(), 0U);
    }
}

TEST_F(DownloadOverHttp, FailsWithoutATile)
{
    KxTSDParamItem& bomb = Source("/gzip-bomb/marble/{$z}/{$x}/{$y}.png");
    bomb.m_strImageFormat = "gzip";
    EXPECT_EQ(Get(bomb), 0);
    EXPECT_EQ(m_tile, nullptr);
    for (const char* path : {"/status/403/{$z}/{$x}/{$y}",
                             "/truncated/marble/{$z}/{$x}/{$y}.png",
                             "/html/marble/{$z}/{$x}/{$y}.png"}) {
        EXPECT_EQ(Get(Source(path)), 0) << path;
        EXPECT_EQ(m_tile, nullptr);
    }
}

TEST_F(DownloadOverHttp, InflatesGzip)
{
    KxTSDParamItem& source = Source("/gzip/marble/{$z}/{$x}/{$y}.jpg");
    source.m_strImageFormat = "gzip";
    ASSERT_EQ(Get(source), 1);
    EXPECT_STREQ(m_tile->GetExt().Cstr(), ".jpeg");
}

} // namespace
} // namespace KxC
