// SPDX-License-Identifier: MIT
#include "FakeEarth.h"
#include "KxImgUtility.h"

#include <memory>

namespace KxC::EarthTest {
namespace {

using Strings = std::vector<std::string>;

/// Nodes "", "2" (image 4) and "21" (image 5) in the current database.
class KxGeFetcherCurrent : public EarthTest
{
protected:
    KxGeFetcherCurrent()
    {
        m_earth.PutPacket("q2-0-q.5", BinaryPacket({{0x44, 0, 1}, {0x42, 0, 4}, {0x40, 0, 5}}));
        m_earth.PutImage("f1-0-i.1", Picture(1));
        m_earth.PutImage("f1-02-i.4", Picture(2));
        m_earth.PutImage("f1-021-i.5", Picture(21));
    }
};

TEST_F(KxGeFetcherCurrent, AsksForRootThenPacketThenImage)
{
    const Delivered tile = FetchCurrent("21");
    EXPECT_EQ(tile.result, NetError_Success) << tile.info.m_strCause.Cstr();
    EXPECT_EQ(tile.bytes, Picture(21));
    EXPECT_EQ(tile.info.m_nLevel, 2);
    EXPECT_EQ(tile.info.m_time.GetYear(), 0);
    EXPECT_EQ(m_earth.TakeQueries(), (Strings{"root", "q2-0-q.5", "f1-021-i.5"}));
    EXPECT_EQ(FetchCurrent("2").bytes, Picture(2));
    EXPECT_EQ(FetchCurrent("").bytes, Picture(1));
    EXPECT_EQ(m_earth.TakeQueries(), (Strings{"f1-02-i.4", "f1-0-i.1"}))
        << "root and packet are kept";
}

TEST_F(KxGeFetcherCurrent, DoesNotAskAgainForAnotherFetcher)
{
    FetchCurrent("21");
    m_earth.TakeQueries();
    KxGeFetcher other;
    EXPECT_EQ(Fetch(other, "2").bytes, Picture(2));
    EXPECT_EQ(m_earth.TakeQueries(), Strings{"f1-02-i.4"});
}

TEST_F(KxGeFetcherCurrent, IgnoresTheDate)
{
    m_current.SetDataTime({1990, 1, 1});
    EXPECT_EQ(FetchCurrent("21").bytes, Picture(21));
}

TEST_F(KxGeFetcherCurrent, FollowsPacketsDown)
{
    // "213" has a packet of version 42; in it "2130" has image 8 and "21302" image 9, "2133332" a
    // packet of no version of its own below.
    m_earth.PutPacket("q2-0-q.5", BinaryPacket({{4}, {2}, {8}, {0x10, 42, 0}}));
    m_earth.PutPacket(
        "q2-0213-q.42",
        BinaryPacket({{0x9}, {0x44, 0, 8}, {0x40, 0, 9}, {8}, {8}, {8}, {0x50, 0, 7}}));
    m_earth.PutPacket("q2-02133333-q.5", BinaryPacket({{0x41, 0, 99}, {0x40, 0, 3}}));
    m_earth.PutImage("f1-021302-i.9", Picture(9));
    m_earth.PutImage("f1-02133333-i.7", Picture(7));
    m_earth.PutImage("f1-021333330-i.3", Picture(3));
    EXPECT_EQ(FetchCurrent("21302").bytes, Picture(9));
    EXPECT_EQ(m_earth.TakeQueries(),
              (Strings{"root", "q2-0-q.5", "q2-0213-q.42", "f1-021302-i.9"}));
    EXPECT_EQ(FetchCurrent("21333330").bytes, Picture(3));
    EXPECT_EQ(m_earth.TakeQueries(), (Strings{"q2-02133333-q.5", "f1-021333330-i.3"}));
    // A packet's top node says nothing of the tile's own image: the packet above does.
    EXPECT_EQ(FetchCurrent("2133333").bytes, Picture(7));
}

/// The pixel of a delivered picture, by column and row from the south.
std::vector<int> PixelOf(const Delivered& tile, int col, int row);

TEST_F(KxGeFetcherCurrent, CutsTheImageAboveWhereATileHasNone)
{
    // "212" is not there; its place in "21" is the north-eastern quarter.
    const Delivered tile = FetchCurrent("212");
    ASSERT_EQ(tile.result, NetError_Success) << tile.info.m_strCause.Cstr();
    EXPECT_EQ(tile.info.m_nLevel, 2);
    for (int row = 0; row < kPictureSide; ++row)
        for (int col = 0; col < kPictureSide; ++col)
            EXPECT_EQ(PixelOf(tile, col, row), (std::vector<int>{4 + col / 2, 4 + row / 2, 21}));
    // Two levels up, the south-western quarter of the north-western one.
    const Delivered deeper = FetchCurrent("2130");
    EXPECT_EQ(PixelOf(deeper, 0, 0), (std::vector<int>{0, 4, 21}));
    EXPECT_EQ(PixelOf(deeper, 7, 7), (std::vector<int>{1, 5, 21}));
}

TEST_F(KxGeFetcherCurrent, AsksOnceForAnImageThatManyTilesAreCutFrom)
{
    EXPECT_EQ(FetchCurrent("212").info.m_nLevel, 2);
    m_earth.TakeQueries();
    for (const char* part : {"210", "211", "213", "2120", "21333"}) {
        const Delivered tile = FetchCurrent(part);
        EXPECT_EQ(tile.info.m_nLevel, 2);
        EXPECT_EQ(PixelOf(tile, 0, 0)[2], 21);
    }
    EXPECT_EQ(m_earth.TakeQueries(), Strings{});
}

TEST_F(KxGeFetcherCurrent, RemembersThatAnImageIsMissing)
{
    m_earth.PutStatus("f1-021-i.5", 404);
    EXPECT_EQ(FetchCurrent("21").info.m_nLevel, 1);
    m_earth.TakeQueries();
    EXPECT_EQ(FetchCurrent("21").info.m_nLevel, 1);
    EXPECT_EQ(m_earth.TakeQueries(), Strings{});
}

TEST_F(KxGeFetcherCurrent, LooksEightLevelsUpAtMost)
{
    // South-east of "": nothing but the picture of the whole world above.
    EXPECT_EQ(FetchCurrent("12222222").result, NetError_Success);
    EXPECT_EQ(FetchCurrent("12222222").info.m_nLevel, 0);
    EXPECT_EQ(FetchCurrent("122222222").result, NetError_NoData);
}

TEST_F(KxGeFetcherCurrent, AnswersWithoutARequestOutsideTheGrid)
{
    KxRawData data;
    KxString info;
    EXPECT_EQ(m_current.FetchImageRawData(data, 2, 0, 0, info, 0), NetError_NoData) << "polar";
    EXPECT_EQ(m_current.FetchImageRawData(data, 2, 1, 4, info, 0), NetError_NoData);
    EXPECT_EQ(m_current.FetchImageRawData(data, 31, 0, 0, info, 0), NetError_NoData);
    EXPECT_EQ(m_current.FetchImageRawData(data, -1, 0, 0, info, 0), NetError_NoData);
    EXPECT_EQ(m_earth.TakeQueries(), Strings{});
}

TEST_F(KxGeFetcherCurrent, TriesTheTileAboveWhereAnAdvertisedImageIsMissing)
{
    m_earth.PutStatus("f1-021-i.5", 404);
    m_earth.Put("f1-02-i.4", "");
    const Delivered tile = FetchCurrent("21");
    EXPECT_EQ(tile.result, NetError_Success);
    EXPECT_EQ(tile.info.m_nLevel, 0);
    EXPECT_EQ(m_earth.TakeQueries(),
              (Strings{"root", "q2-0-q.5", "f1-021-i.5", "f1-02-i.4", "f1-0-i.1"}));
}

TEST_F(KxGeFetcherCurrent, TakesAMissingPacketForAnEmptyPlaceAndRemembersIt)
{
    m_earth.PutPacket("q2-0-q.5", BinaryPacket({{4}, {2}, {8}, {0x50, 42, 6}}));
    m_earth.PutImage("f1-0213-i.6", Picture(6));
    for (const bool empty : {false, true}) {
        if (empty)
            m_earth.Put("q2-0213-q.42", "");
        KxGeFetcher::SetServer(m_earth.Url().c_str());
        EXPECT_EQ(FetchCurrent("2130").info.m_nLevel, 3);
        m_earth.TakeQueries();
        EXPECT_EQ(FetchCurrent("2131").info.m_nLevel, 3);
        EXPECT_EQ(m_earth.TakeQueries(), Strings{});
    }
}

TEST_F(KxGeFetcherCurrent, TakesPacketsAndImagesThatCameUnencrypted)
{
    m_earth.Put("q2-0-q.5", Compress(BinaryPacket({{0x40, 0, 1}})));
    m_earth.Put("f1-0-i.1", Picture(77));
    EXPECT_EQ(FetchCurrent("").bytes, Picture(77));
}

TEST_F(KxGeFetcherCurrent, OpensImagesWithTheOtherDatabasesKeyToo)
{
    m_earth.Put("f1-02-i.4", Encrypt(Picture(33), m_earth.HistoryKey()));
    EXPECT_EQ(FetchCurrent("2").bytes, Picture(33));
}

TEST_F(KxGeFetcherCurrent, ReadsProtobufPacketsHereToo)
{
    m_earth.PutPacket("q2-0-q.5", ProtobufPacket({{3, {0, 4}}}));
    EXPECT_EQ(FetchCurrent("2").bytes, Picture(2));
}

/// "2" as in the published session, but for the versions; "20" has only a day that lies above it.
class KxGeFetcherHistory : public EarthTest
{
protected:
    static constexpr std::uint32_t k2008 = 0xFB097; // 23 April
    static constexpr std::uint32_t k2020 = 0xFC82F; // 15 January
    static constexpr std::uint32_t k2024 = 0xFD19F; // 31 December

    KxGeFetcherHistory()
    {
        m_earth.PutPacket(
            "db=tm&qp-0-q.900",
            ProtobufPacket(
                {{0, {}},
                 {3, {0, 4, {{545, 1, 0}, {k2008, 10, 7}, {k2020, 273, 0}, {k2024, 361, 9}}}},
                 {14, {0, 5}},
                 {13, {0, 6, {{k2024, 361, 9}}, {k2008}}}}));
        m_earth.PutImage("db=tm&f1-02-i.10-fb097", Picture(8));
        m_earth.PutImage("f1-02-i.4", Picture(20));
        m_earth.PutImage("db=tm&f1-02-i.361-fd19f", Picture(24));
        m_earth.PutImage("f1-021-i.5", Picture(21));
    }
};

TEST_F(KxGeFetcherHistory, TakesTheNewestImageNotAfterTheDate)
{
    EXPECT_EQ(FetchDated("2", {2010, 6, 1}).bytes, Picture(8));
    EXPECT_EQ(m_earth.TakeQueries(),
              (Strings{"root-tm", "db=tm&qp-0-q.900", "db=tm&f1-02-i.10-fb097"}));
    EXPECT_EQ(FetchDated("2", {2021, 1, 1}).bytes, Picture(20)) << "in the current database";
    EXPECT_EQ(m_earth.TakeQueries(), (Strings{"f1-02-i.4", "root"}));
    EXPECT_EQ(FetchDated("2", {2025, 1, 1}).bytes, Picture(24));
    EXPECT_EQ(FetchDated("2", {2024, 12, 31}).bytes, Picture(24));
    EXPECT_EQ(FetchDated("2", {2024, 12, 30}).bytes, Picture(20));
    EXPECT_EQ(FetchDated("2", KxTime()).bytes, Picture(24)) << "no date wants the newest";
}

TEST_F(KxGeFetcherHistory, TellsTheDayThatWasDelivered)
{
    const KxTime day = FetchDated("2", {2010, 6, 1}).info.m_time;
    EXPECT_EQ(day.GetYear(), 2008);
    EXPECT_EQ(day.GetMonth(), 4);
    EXPECT_EQ(day.GetDay(), 23);
}

TEST_F(KxGeFetcherHistory, HasNothingWhereAllIsNewer)
{
    EXPECT_EQ(FetchDated("2", {2000, 1, 1}).result, NetError_NoData);
    EXPECT_EQ(m_earth.TakeQueries(), (Strings{"root-tm", "db=tm&qp-0-q.900"}));
}

TEST_F(KxGeFetcherHistory, TakesUndatedImageryWhereThereIsNoHistory)
{
    const Delivered tile = FetchDated("21", {2000, 1, 1});
    EXPECT_EQ(tile.bytes, Picture(21));
    EXPECT_EQ(tile.info.m_time.GetYear(), 0);
}

TEST_F(KxGeFetcherHistory, CutsADayThatOnlyTheTileAboveHas)
{
    const Delivered tile = FetchDated("20", {2010, 1, 1});
    ASSERT_EQ(tile.result, NetError_Success) << tile.info.m_strCause.Cstr();
    EXPECT_EQ(tile.info.m_nLevel, 1);
    EXPECT_EQ(tile.info.m_time.GetYear(), 2008);
    EXPECT_EQ(PixelOf(tile, 0, 0), (std::vector<int>{0, 0, 8})) << "the south-western quarter";
    EXPECT_EQ(FetchDated("20", {2007, 1, 1}).result, NetError_NoData);
}

TEST_F(KxGeFetcherHistory, TriesOtherVersionsOfTheNodeWhereItsOwnIsMissing)
{
    m_earth.PutStatus("db=tm&f1-02-i.10-fb097", 404);
    m_earth.PutImage("db=tm&f1-02-i.361-fb097", Picture(55));
    EXPECT_EQ(FetchDated("2", {2010, 6, 1}).bytes, Picture(55));
}

TEST_F(KxGeFetcherHistory, ListsTheDaysOfATile)
{
    EXPECT_EQ(Days("2"), "0: 2024-12-31 2020-1-15 2008-4-23");
    EXPECT_EQ(Days("20"), "0: 2024-12-31");
    EXPECT_EQ(Days("21"), "7:") << "no dated imagery";
    EXPECT_EQ(Days("0"), "7:") << "no such node";
    EXPECT_EQ(Days("00"), "7:") << "beyond the pole";
}

std::vector<int> PixelOf(const Delivered& tile, int col, int row)
{
    const std::unique_ptr<KxImageData> image(
        KxImgUtility::LoadImageData(reinterpret_cast<const unsigned char*>(tile.bytes.data()),
                                    static_cast<unsigned int>(tile.bytes.size()),
                                    "",
                                    1,
                                    1));
    if (image == nullptr)
        return {};
    const unsigned char* const pixel =
        image->GetData() + row * image->GetRowBytes() + col * image->GetPixelSize();
    return {pixel, pixel + image->GetPixelSize()};
}

} // namespace
} // namespace KxC::EarthTest
