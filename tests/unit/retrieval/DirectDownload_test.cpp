// SPDX-License-Identifier: MIT
#include "RetrievalFixture.h"

#include <atomic>
#include <memory>
#include <new>
#include <thread>

namespace KxC {
namespace {

using Testing::Bytes;
using Testing::Gzip;
using Testing::kTinyPng;

class FetchWMTile4 : public Testing::RetrievalTest
{
protected:
    /// The tile at column 1, row 2, level 3 as the service counts: http://s/3/1/2.
    unsigned char Get(std::unique_ptr<KxRawData>& out)
    {
        auto* raw = reinterpret_cast<KxRawData*>(this);
        const unsigned char result = KxTileFetcher::FetchWMTile4(raw, &m_source, 1, 2, 3, 999, 55);
        out.reset(raw);
        return result;
    }

    std::unique_ptr<KxRawData> m_out;
};

Bytes BytesOf(const KxRawData& data)
{
    return {data.GetData(), data.GetData() + data.GetSize()};
}

TEST_F(FetchWMTile4, DeliversTheServicesBytes)
{
    m_source.m_nTileScheme = 3;
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    ASSERT_EQ(Get(m_out), 1);
    ASSERT_NE(m_out, nullptr);
    EXPECT_EQ(BytesOf(*m_out), kTinyPng);
    EXPECT_STREQ(m_out->GetExt().Cstr(), ".png");
    ASSERT_EQ(m_service.m_sent.size(), 1U);
    EXPECT_EQ(m_service.m_sent[0].m_userAgent, "agent of the source") << "for scheme 3 too";
    EXPECT_EQ(m_service.m_sent[0].m_requestParam, 55);
}

TEST_F(FetchWMTile4, NeverTurnsRowsNorTouchesTheRecord)
{
    m_source.m_nSouthToNorth = 0;
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    EXPECT_EQ(Get(m_out), 1);
    EXPECT_EQ(m_source.m_nSouthToNorth, 0);
    m_source.m_nTileScheme = 5;
    m_service.Answer("http://s/3/1/3", NetError_Success, kTinyPng);
    EXPECT_EQ(Get(m_out), 1) << "the scheme's own rule still applies: 6 - 2 - 1";
}

TEST_F(FetchWMTile4, LeavesOtherThreadsTheirRows)
{
    m_source.m_nSouthToNorth = 0;
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done.load())
            ASSERT_STREQ(KxTileFetcher::GetURL(&m_source, 3, 2, 1).Cstr(), "http://s/3/1/5");
    });
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(Get(m_out), 1);
    done = true;
    reader.join();
}

TEST_F(FetchWMTile4, FailsWhenMemoryRunsOut)
{
    m_service.DuringRequests([] { throw std::bad_alloc(); });
    EXPECT_EQ(Get(m_out), 0);
    EXPECT_EQ(m_out, nullptr);
}

TEST_F(FetchWMTile4, PassesBothCaches)
{
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    Get(m_out);
    Get(m_out);
    EXPECT_EQ(Requests(), 2U);
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 0U);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.Path()));
}

TEST_F(FetchWMTile4, FailsWhenTheRequestFails)
{
    m_service.Answer(kUrl, NetError_Failure);
    EXPECT_EQ(Get(m_out), 0);
    EXPECT_EQ(m_out, nullptr);
}

TEST_F(FetchWMTile4, DeliversNoBytesWhereTheServiceHasNone)
{
    for (const int result : {0, 7, 3}) {
        m_service.Answer(kUrl, static_cast<NetError>(result));
        EXPECT_EQ(Get(m_out), 1) << result;
        ASSERT_NE(m_out, nullptr);
        EXPECT_EQ(m_out->GetSize(), 0U);
        EXPECT_EQ(m_out->GetData(), nullptr);
    }
}

TEST_F(FetchWMTile4, LooksAtTheBytesOfEveryOtherResult)
{
    m_service.Answer(kUrl, NetError_NoData, kTinyPng);
    EXPECT_EQ(Get(m_out), 1);
    ASSERT_NE(m_out, nullptr);
    EXPECT_EQ(BytesOf(*m_out), kTinyPng);
}

TEST_F(FetchWMTile4, FailsOnAPictureCutShort)
{
    m_service.Answer(kUrl, NetError_Success, Testing::TruncatedPng());
    EXPECT_EQ(Get(m_out), 0);
    EXPECT_EQ(m_out, nullptr);
}

TEST_F(FetchWMTile4, InflatesGzipSources)
{
    m_source.m_strImageFormat = "GZip";
    m_service.Answer(kUrl, NetError_Success, Gzip(kTinyPng));
    ASSERT_EQ(Get(m_out), 1);
    ASSERT_NE(m_out, nullptr);
    EXPECT_EQ(BytesOf(*m_out), kTinyPng);
    EXPECT_STREQ(m_out->GetExt().Cstr(), ".png");
}

TEST_F(FetchWMTile4, FailsOnGzipThatDoesNotInflateToAPicture)
{
    m_source.m_strImageFormat = "gzip";
    const Bytes bodies[] = {
        Gzip(Testing::CompressiblePng()), Gzip(Testing::TruncatedPng()), kTinyPng};
    for (const Bytes& body : bodies) {
        m_service.Answer(kUrl, NetError_Success, body);
        EXPECT_EQ(Get(m_out), 0);
        EXPECT_EQ(m_out, nullptr);
    }
}

TEST_F(FetchWMTile4, LeavesTheOutputAloneForNoSource)
{
    auto* const before = reinterpret_cast<KxRawData*>(this);
    KxRawData* out = before;
    EXPECT_EQ(KxTileFetcher::FetchWMTile4(out, nullptr, 1, 2, 3, 256, 0), 0);
    EXPECT_EQ(out, before);
}

} // namespace
} // namespace KxC
