// SPDX-License-Identifier: MIT
#include "KxRasterDataAccessor.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace KxC {
namespace {

/// Reads nothing; says that it opened what it was given.
class StubAccessor : public KxRasterDataAccessor
{
public:
    explicit StubAccessor(bool& destroyed) : m_destroyed(destroyed) {}
    ~StubAccessor() override { m_destroyed = true; }

    unsigned char Initialize() override { return 1; }
    unsigned char IsAvailable() override { return 2; }
    int GetMinLevel() override { return 3; }
    int GetMaxLevel() override { return 4; }
    unsigned char SetProj4(const KxString&) override { return 5; }
    unsigned char SetEsriPrj(const char*) override { return 6; }
    unsigned char SetEPSG(const char*) override { return 7; }
    unsigned char SetWKT(const char*) override { return 8; }
    unsigned char SetAuthority(const char*) override { return 9; }
    unsigned char SetPrjFile(const KxString&) override { return 10; }
    void SrcPtToWGS84Pt(const KxPoint3d& in, KxPoint3d& out) override { out = in; }
    void WGS84PtToSrcPt(const KxPoint3d& in, KxPoint3d& out) override { out = in; }
    unsigned char Open(const KxString& path) override
    {
        m_strDataPath = path;
        m_eGeoReferenceType = KxEGeoReferenceType_WebMercatorTiles;
        m_rectLatLon = KxRect2d(-180, 85, 180, -85);
        return 1;
    }
    void ReadTileImage(KxImageData*& image, int, int, int) override { image = nullptr; }
    int ReadTileData(int, int, int, unsigned char*&, unsigned int&) override { return 5; }

    using KxRasterDataAccessor::NoteOpen;
    using KxRasterDataAccessor::NoteOpenFailure;
    using KxRasterDataAccessor::NoteReadFailure;

private:
    bool& m_destroyed;
};

TEST(KxRasterDataAccessor, KnowsNothingBeforeItIsOpened)
{
    bool destroyed = false;
    const StubAccessor accessor(destroyed);
    EXPECT_EQ(accessor.GetDataPath().IsEmpty(), 1);
    EXPECT_EQ(accessor.GetGeoReferenceType(), KxEGeoReferenceType_None);
    EXPECT_EQ(accessor.GetLatLonBounds().m_dRight, 0.0);
}

TEST(KxRasterDataAccessor, AnswersWhatOpeningFound)
{
    bool destroyed = false;
    StubAccessor accessor(destroyed);
    ASSERT_EQ(accessor.Open("/data/World.PMTiles"), 1);
    EXPECT_STREQ(accessor.GetDataPath().Cstr(), "/data/World.PMTiles");
    EXPECT_EQ(static_cast<int>(accessor.GetGeoReferenceType()), 3);
    EXPECT_EQ(accessor.GetLatLonBounds().m_dTop, 85.0);
}

TEST(KxRasterDataAccessor, ConvertsArraysPointByPoint)
{
    bool destroyed = false;
    StubAccessor accessor(destroyed);
    const KxPoint3d in[2] = {{1, 2, 3}, {4, 5, 6}};
    KxPoint3d out[3];
    accessor.SrcPtsToWGS84Pts(in, out, 2);
    EXPECT_EQ(out[0].x, 1.0);
    EXPECT_EQ(out[1].z, 6.0);
    EXPECT_EQ(out[2].x, 0.0);
    accessor.WGS84PtsToSrcPts(in + 1, out, 1);
    EXPECT_EQ(out[0].y, 5.0);
    accessor.WGS84PtsToSrcPts(in, out, -1);
    EXPECT_EQ(out[0].y, 5.0);
}

TEST(KxRasterDataAccessor, HasNoFaultToTellBeforeASetterFails)
{
    bool destroyed = false;
    const StubAccessor accessor(destroyed);
    EXPECT_EQ(accessor.GetProjectionError().IsEmpty(), 1);
}

TEST(KxRasterDataAccessor, CountsTheReadsThatFailedAndKeepsTheReason)
{
    const unsigned long long before = KxRasterDataAccessor::GetThreadReadFailures();
    StubAccessor::NoteReadFailure("the disk is gone");
    StubAccessor::NoteReadFailure("it is cut short");
    EXPECT_EQ(KxRasterDataAccessor::GetThreadReadFailures(), before + 2);
    EXPECT_STREQ(KxRasterDataAccessor::GetThreadError().Cstr(), "it is cut short");
}

/// What is kept of a reason.
std::string Kept(const std::string& why)
{
    StubAccessor::NoteReadFailure(why.c_str());
    return KxRasterDataAccessor::GetThreadError().Cstr();
}

TEST(KxRasterDataAccessor, KeepsAReasonOnOneLineThatSteersNoTerminal)
{
    EXPECT_EQ(Kept("a\nb\r\tc"), "a?b??c");
    EXPECT_EQ(Kept("\x1b[2J\x7f"), "?[2J?");
    // U+009B steers like ESC and "[", in two bytes; U+00A0 and U+4E9B, of the same bytes, do not.
    EXPECT_EQ(Kept("a\xc2\x9b"
                   "b"),
              "a??b");
    EXPECT_EQ(Kept("\xc2\xa0\xe4\xba\x9b"), "\xc2\xa0\xe4\xba\x9b");
}

TEST(KxRasterDataAccessor, CutsALongReasonBetweenCharacters)
{
    const std::string ascii(600, 'x');
    EXPECT_EQ(Kept(ascii), std::string(500, 'x'));
    // Of three bytes each: 500 lies inside the 167th.
    std::string chinese;
    for (int i = 0; i < 200; ++i)
        chinese += "\xe7\x93\xa6";
    EXPECT_EQ(Kept(chinese), chinese.substr(0, 498));
    EXPECT_EQ(Kept(""), "");
}

TEST(KxRasterDataAccessor, CountsNoOpeningAndForgetsTheReasonAfterASoundOne)
{
    const unsigned long long before = KxRasterDataAccessor::GetThreadReadFailures();
    StubAccessor::NoteOpenFailure("it is no raster");
    EXPECT_STREQ(KxRasterDataAccessor::GetThreadError().Cstr(), "it is no raster");
    StubAccessor::NoteOpen();
    EXPECT_EQ(KxRasterDataAccessor::GetThreadError().IsEmpty(), 1);
    EXPECT_EQ(KxRasterDataAccessor::GetThreadReadFailures(), before);
}

TEST(KxRasterDataAccessor, KeepsWhatFailedToTheThreadItFailedOn)
{
    const unsigned long long before = KxRasterDataAccessor::GetThreadReadFailures();
    StubAccessor::NoteOpen();
    std::thread([] {
        EXPECT_EQ(KxRasterDataAccessor::GetThreadReadFailures(), 0U);
        StubAccessor::NoteReadFailure("only here");
        EXPECT_EQ(KxRasterDataAccessor::GetThreadReadFailures(), 1U);
    }).join();
    EXPECT_EQ(KxRasterDataAccessor::GetThreadReadFailures(), before);
    EXPECT_EQ(KxRasterDataAccessor::GetThreadError().IsEmpty(), 1);
}

TEST(KxRasterDataAccessor, IsDestroyedThroughThePluginThatItIs)
{
    bool destroyed = false;
    std::unique_ptr<KxPlugin> plugin = std::make_unique<StubAccessor>(destroyed);
    plugin.reset();
    EXPECT_TRUE(destroyed);
}

} // namespace
} // namespace KxC
