// SPDX-License-Identifier: MIT
#include "RetrievalFixture.h"

#include <memory>
#include <new>

namespace KxC {
namespace {

using Testing::Bytes;
using Testing::Gzip;
using Testing::kTinyPng;

class FetchWMData : public Testing::RetrievalTest
{
};

TEST_F(FetchWMData, DeliversTheDecodedTile)
{
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    KxWMImageTileData* tile = nullptr;
    ASSERT_EQ(Fetch(tile, 1234), NetError_Success);
    ASSERT_NE(tile, nullptr);
    EXPECT_EQ(tile->GetLevel(), 3);
    EXPECT_EQ(tile->GetRow(), 2);
    EXPECT_EQ(tile->GetCol(), 1);
    ASSERT_NE(tile->GetImage(), nullptr);
    EXPECT_EQ(tile->GetImage()->GetWidth(), 2);
    EXPECT_EQ(tile->GetImage()->GetData()[0], 7) << "row 0 is the south edge";
    ASSERT_EQ(m_service.m_sent.size(), 1U);
    EXPECT_EQ(m_service.m_sent[0].m_method, 0);
    EXPECT_EQ(m_service.m_sent[0].m_fileType, 1);
    EXPECT_EQ(m_service.m_sent[0].m_requestParam, 1234);
    EXPECT_EQ(m_service.m_sent[0].m_userAgent, "agent of the source");
    EXPECT_EQ(m_service.m_sent[0].m_requestLines, &m_source.m_arrRequestHeaders);
}

TEST_F(FetchWMData, SendsSchemeThreesOwnUserAgent)
{
    m_source.m_nTileScheme = 3;
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    KxWMImageTileData* tile = nullptr;
    Fetch(tile);
    ASSERT_EQ(m_service.m_sent.size(), 1U);
    EXPECT_EQ(m_service.m_sent[0].m_userAgent, "kh_lt/LT3.0.0762");
}

TEST_F(FetchWMData, AnswersFromMemoryTheSecondTime)
{
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    KxWMImageTileData* first = nullptr;
    KxWMImageTileData* second = nullptr;
    Fetch(first);
    ASSERT_EQ(Fetch(second), NetError_Success);
    EXPECT_EQ(first, second);
    EXPECT_EQ(Requests(), 1U);
}

TEST_F(FetchWMData, GivesTheCallerEveryTileWithBothSwitchesOff)
{
    KxTileFetcher::m_sbMemCacheUsed = 0;
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    KxWMImageTileData* first = nullptr;
    KxWMImageTileData* second = nullptr;
    Fetch(first);
    Fetch(second);
    const std::unique_ptr<KxWMImageTileData> ownFirst(first);
    const std::unique_ptr<KxWMImageTileData> ownSecond(second);
    EXPECT_NE(first, second);
    EXPECT_EQ(Requests(), 2U);
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 0U);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.Path()));
}

TEST_F(FetchWMData, AsksNothingOfASourceWithoutTemplate)
{
    for (const int scheme : {10, 8}) {
        KxTSDParamItem empty;
        empty.LoadFromParam("", "", scheme, 0, 0, 0, 256, "", 0, KxTime());
        KxWMImageTileData* tile = nullptr;
        EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &empty, 1, 0, 0, 0), NetError_Success);
        EXPECT_EQ(tile, nullptr);
    }
    EXPECT_EQ(Requests(), 0U);
}

TEST_F(FetchWMData, NeedsNoTemplateWhereAScriptMakesTheUrl)
{
    KxTSDParamItem scripted;
    scripted.m_bLuaScripted = 1;
    scripted.m_luaToolkit.LoadFromString("function GetTileURL() return 'http://lua' end");
    m_service.Answer("http://lua", NetError_Success, kTinyPng);
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(KxTileFetcher::DownLoadWMData(tile, &scripted, 1, 0, 0, 0), NetError_Success);
    EXPECT_NE(tile, nullptr);
}

TEST_F(FetchWMData, TurnsNoDataIntoAnEmptyTileWithTheDiskCacheOff)
{
    m_service.Answer(kUrl, NetError_NoData);
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(Fetch(tile), NetError_Success);
    ASSERT_NE(tile, nullptr);
    EXPECT_EQ(tile->GetImage(), nullptr);
    EXPECT_EQ(Fetch(tile), NetError_Success);
    EXPECT_EQ(Requests(), 1U) << "the empty tile is in memory";
}

TEST_F(FetchWMData, RemembersNoDataOnDisk)
{
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    m_service.Answer(kUrl, NetError_NoData);
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(Download(tile), NetError_Success);
    EXPECT_NE(tile, nullptr);
    EXPECT_EQ(Download(tile), NetError_NoData);
    EXPECT_EQ(tile, nullptr);
    EXPECT_EQ(Requests(), 1U);
    EXPECT_EQ(Fetch(tile), NetError_Success) << "memory is asked before the disk";
    ASSERT_NE(tile, nullptr);
    EXPECT_EQ(tile->GetImage(), nullptr);
}

TEST_F(FetchWMData, ReadsStoredBytesInsteadOfAsking)
{
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    KxWMImageTileData* tile = nullptr;
    Download(tile);
    m_gWMTileDataCacheManager.Clear();
    ASSERT_EQ(Fetch(tile), NetError_Success);
    ASSERT_NE(tile, nullptr);
    EXPECT_NE(tile->GetImage(), nullptr);
    EXPECT_EQ(Requests(), 1U);
    Fetch(tile);
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 1U) << "disk hits go to memory";
    KxRawData stored;
    ASSERT_EQ(KxTileFetcher::LoadFromLocalCache(m_source.m_strHashKey, 3, 2, 1, stored),
              GetchResult_HasData);
    EXPECT_EQ(Bytes(stored.GetData(), stored.GetData() + stored.GetSize()), kTinyPng);
}

TEST_F(FetchWMData, NeverAsksAgainForStoredBytesThatDoNotDecode)
{
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    unsigned char garbage[] = {1, 2, 3};
    KxTileFetcher::SaveToLocalCache(m_source.m_strHashKey, 3, 2, 1, garbage, sizeof(garbage));
    auto* tile = reinterpret_cast<KxWMImageTileData*>(this);
    EXPECT_EQ(Download(tile), NetError_Success);
    EXPECT_EQ(tile, nullptr);
    KxTileFetcher::SaveToLocalCache(m_source.m_strHashKey, 3, 2, 1, garbage, 0);
    EXPECT_EQ(Download(tile), NetError_Success);
    EXPECT_EQ(tile, nullptr);
    EXPECT_EQ(Requests(), 0U);
}

TEST_F(FetchWMData, FailsOnEveryOtherResultAndTriesAgain)
{
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    m_service.Answer(kUrl, static_cast<NetError>(9), kTinyPng);
    auto* tile = reinterpret_cast<KxWMImageTileData*>(this);
    EXPECT_EQ(Fetch(tile), NetError_Failure);
    EXPECT_EQ(tile, nullptr);
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    EXPECT_EQ(Fetch(tile), NetError_Success);
    EXPECT_EQ(Requests(), 2U);
}

TEST_F(FetchWMData, FailsOnAPictureCutShortAndCachesNothing)
{
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    m_service.Answer(kUrl, NetError_Success, Testing::TruncatedPng());
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(Fetch(tile), NetError_Failure);
    EXPECT_EQ(tile, nullptr);
    KxRawData stored;
    EXPECT_EQ(KxTileFetcher::LoadFromLocalCache(m_source.m_strHashKey, 3, 2, 1, stored),
              GetchResult_Unknown);
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 0U);
}

TEST_F(FetchWMData, TakesAnEmptyBodyForAnEmptyTile)
{
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    m_service.Answer(kUrl, NetError_Success);
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(Fetch(tile), NetError_Success);
    ASSERT_NE(tile, nullptr);
    EXPECT_EQ(tile->GetImage(), nullptr);
    KxRawData stored;
    EXPECT_EQ(KxTileFetcher::LoadFromLocalCache(m_source.m_strHashKey, 3, 2, 1, stored),
              GetchResult_Unknown);
}

TEST_F(FetchWMData, InflatesGzipSourcesAndStoresThePicture)
{
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    m_source.m_strImageFormat = "png.GZIP";
    m_service.Answer(kUrl, NetError_Success, Gzip(kTinyPng));
    KxWMImageTileData* tile = nullptr;
    ASSERT_EQ(Fetch(tile), NetError_Success);
    ASSERT_NE(tile, nullptr);
    EXPECT_NE(tile->GetImage(), nullptr);
    KxRawData stored;
    KxTileFetcher::LoadFromLocalCache(m_source.m_strHashKey, 3, 2, 1, stored);
    EXPECT_EQ(Bytes(stored.GetData(), stored.GetData() + stored.GetSize()), kTinyPng);
}

TEST_F(FetchWMData, TakesABodyThatInflatesToMoreThanTwiceForAnEmptyTile)
{
    m_source.m_strImageFormat = "gzip";
    m_service.Answer(kUrl, NetError_Success, Gzip(Testing::CompressiblePng()));
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(Fetch(tile), NetError_Success);
    ASSERT_NE(tile, nullptr);
    EXPECT_EQ(tile->GetImage(), nullptr);
    m_service.Answer("http://s/3/1/3", NetError_Success, {'n', 'o', ' ', 'g', 'z', 'i', 'p'});
    EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &m_source, 3, 3, 1, 0), NetError_Success);
    ASSERT_NE(tile, nullptr);
    EXPECT_EQ(tile->GetImage(), nullptr);
}

TEST_F(FetchWMData, FailsWhenTheInflatedPictureIsCutShort)
{
    m_source.m_strImageFormat = "gzip";
    m_service.Answer(kUrl, NetError_Success, Gzip(Testing::TruncatedPng()));
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(Fetch(tile), NetError_Failure);
    EXPECT_EQ(tile, nullptr);
}

TEST_F(FetchWMData, FetchesHistoryImageryThroughTheFetcher)
{
    KxTSDParamItem earth;
    earth.LoadFromParam("http://earth", "", 8, 0, 0, 0, 256, "", 0, KxTime());
    m_service.AnswerEarth(NetError_Success, kTinyPng);
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &earth, 4, 3, 2, 0), NetError_Success);
    ASSERT_NE(tile, nullptr);
    EXPECT_NE(tile->GetImage(), nullptr);
    ASSERT_EQ(m_service.m_earthSent.size(), 1U);
    EXPECT_EQ(m_service.m_earthSent[0].m_level, 4);
    EXPECT_EQ(m_service.m_earthSent[0].m_row, 3);
    EXPECT_EQ(m_service.m_earthSent[0].m_col, 2);
    EXPECT_TRUE(m_service.m_sent.empty());
}

TEST_F(FetchWMData, FailsForHistoryImageryWithoutFetcher)
{
    KxTSDParamItem earth;
    earth.m_strUrlTemplate = "http://earth";
    earth.m_nTileScheme = 8;
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(KxTileFetcher::FetchWMData(tile, &earth, 4, 3, 2, 0), NetError_Failure);
    EXPECT_EQ(Requests(), 0U);
}

TEST_F(FetchWMData, TakesAWholePictureThatDoesNotDecodeForAnEmptyTile)
{
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    for (const char* format : {"png", "png gzip"}) {
        m_source.m_strImageFormat = format;
        m_source.m_strHashKey = KxUtility::GetValidHashKey(format);
        const Bytes picture = Testing::UndecodablePng();
        const std::size_t before = Requests();
        m_service.Answer(
            kUrl, NetError_Success, m_source.m_strImageFormat == "png" ? picture : Gzip(picture));
        for (int call = 0; call < 2; ++call) {
            KxWMImageTileData* tile = nullptr;
            EXPECT_EQ(Fetch(tile), NetError_Success);
            ASSERT_NE(tile, nullptr);
            EXPECT_EQ(tile->GetImage(), nullptr);
        }
        EXPECT_EQ(Requests(), before + 1) << "the empty tile is in memory";
        KxRawData stored;
        EXPECT_EQ(KxTileFetcher::LoadFromLocalCache(m_source.m_strHashKey, 3, 2, 1, stored),
                  GetchResult_Unknown);
    }
}

TEST_F(FetchWMData, KeepsToTheSwitchesThatItBeganWith)
{
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    m_service.DuringRequests([] { KxTileFetcher::m_sbMemCacheUsed = 0; });
    KxWMImageTileData* cached = nullptr;
    ASSERT_EQ(Fetch(cached), NetError_Success);
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 1U) << "the cache owns it";
    m_gWMTileDataCacheManager.Clear();
    m_service.DuringRequests([] { KxTileFetcher::m_sbMemCacheUsed = 1; });
    KxWMImageTileData* owned = nullptr;
    ASSERT_EQ(Fetch(owned), NetError_Success);
    const std::unique_ptr<KxWMImageTileData> own(owned);
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 0U) << "the caller owns it";
}

TEST_F(FetchWMData, FailsWhenMemoryRunsOut)
{
    m_service.DuringRequests([] { throw std::bad_alloc(); });
    auto* tile = reinterpret_cast<KxWMImageTileData*>(this);
    EXPECT_EQ(Fetch(tile), NetError_Failure);
    EXPECT_EQ(tile, nullptr);
    tile = reinterpret_cast<KxWMImageTileData*>(this);
    EXPECT_EQ(Download(tile), NetError_Failure);
    EXPECT_EQ(tile, nullptr);
}

TEST_F(FetchWMData, LeavesTheTileAloneForNoSource)
{
    auto* const before = reinterpret_cast<KxWMImageTileData*>(this);
    KxWMImageTileData* tile = before;
    EXPECT_EQ(KxTileFetcher::FetchWMData(tile, nullptr, 1, 0, 0, 0), NetError_Failure);
    EXPECT_EQ(KxTileFetcher::DownLoadWMData(tile, nullptr, 1, 0, 0, 0), NetError_Failure);
    EXPECT_EQ(tile, before);
}

TEST_F(FetchWMData, KeepsAHostsTileUntilItsNextCall)
{
    m_gWMTileDataCacheManager.SetBudget(0);
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    KxWMImageTileData* tile = nullptr;
    ASSERT_EQ(Fetch(tile), NetError_Success);
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 0U) << "no budget, none kept";
    ASSERT_NE(tile->GetImage(), nullptr);
    EXPECT_EQ(tile->GetImage()->GetData()[0], 7) << "and yet it lives";
    m_gWMTileDataCacheManager.SetBudget(KxWMTileDataCacheManager::kDefaultBudget);
}

} // namespace
} // namespace KxC
