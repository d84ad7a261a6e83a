// SPDX-License-Identifier: MIT
#include "KxPmTiles.h"
#include "support/ArchiveBytes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace KxC {

namespace {

using ArchiveBytes::Archive;
using ArchiveBytes::Little;

Archive SmallArchive()
{
    Archive archive;
    archive.m_root = ArchiveBytes::Directory({{0, 0, 4}});
    archive.m_tiles = "tile";
    archive.m_maxLevel = 7;
    archive.m_bounds[0] = -1234567890;
    archive.m_bounds[1] = -20;
    archive.m_bounds[2] = 1800000000;
    archive.m_bounds[3] = 850000000;
    return archive;
}

bool Read(const std::string& bytes, KxPmTilesHeader& header, KxString& error)
{
    return KxPmTiles::ReadHeader(reinterpret_cast<const unsigned char*>(bytes.data()),
                                 static_cast<unsigned int>(bytes.size()),
                                 bytes.size(),
                                 header,
                                 error);
}

std::string FaultOf(const std::string& bytes)
{
    KxPmTilesHeader header;
    KxString error;
    return Read(bytes, header, error) ? "" : error.Cstr();
}

TEST(KxPmTiles, ReadsTheFieldsOfAHeader)
{
    KxPmTilesHeader header;
    KxString error;
    ASSERT_TRUE(Read(SmallArchive().Bytes(), header, error)) << error.Cstr();
    EXPECT_EQ(header.m_root.m_nOffset, 127U);
    EXPECT_EQ(header.m_root.m_nLength, 5U);
    EXPECT_EQ(header.m_tiles.m_nOffset, 132U);
    EXPECT_EQ(header.m_tiles.m_nLength, 4U);
    EXPECT_EQ(header.m_eInternal, KxPmTilesCompression_None);
    EXPECT_EQ(header.m_eType, KxPmTilesType_Png);
    EXPECT_EQ(header.m_nMaxLevel, 7);
    EXPECT_FALSE(header.m_bClustered);
    EXPECT_DOUBLE_EQ(header.m_bounds.m_dLeft, -123.4567890);
    EXPECT_DOUBLE_EQ(header.m_bounds.m_dBottom, -0.000002);
    EXPECT_DOUBLE_EQ(header.m_bounds.m_dRight, 180.0);
    EXPECT_DOUBLE_EQ(header.m_bounds.m_dTop, 85.0);
}

TEST(KxPmTiles, WritesAHeaderAsItWasRead)
{
    const std::string bytes = SmallArchive().Bytes();
    KxPmTilesHeader header;
    KxString error;
    ASSERT_TRUE(Read(bytes, header, error));
    std::string written(KxPmTiles::kHeaderBytes, 'x');
    KxPmTiles::WriteHeader(header, reinterpret_cast<unsigned char*>(written.data()));
    EXPECT_EQ(written, bytes.substr(0, KxPmTiles::kHeaderBytes));
}

TEST(KxPmTiles, RefusesWhatIsNoArchive)
{
    EXPECT_NE(FaultOf(""), "");
    EXPECT_NE(FaultOf(std::string(127, '\0')), "");
    EXPECT_NE(FaultOf(SmallArchive().Bytes().substr(0, 126)), "");
    KxPmTilesHeader header;
    KxString error;
    EXPECT_FALSE(KxPmTiles::ReadHeader(nullptr, 0, 0, header, error));
}

TEST(KxPmTiles, RefusesAnotherVersion)
{
    Archive archive = SmallArchive();
    archive.m_version = 2;
    EXPECT_NE(FaultOf(archive.Bytes()).find("version 2"), std::string::npos);
}

TEST(KxPmTiles, RefusesSectionsBeyondTheFile)
{
    const std::string good = SmallArchive().Bytes();
    ASSERT_EQ(FaultOf(good), "");
    // Offset and length of root, metadata, leaves and tiles lie behind the first 8 bytes.
    for (std::size_t field = 8; field < 72; field += 8) {
        for (const unsigned long long value : {1ULL << 20U, 1ULL << 63U, ~0ULL, ~0ULL - 100}) {
            std::string bytes = good;
            bytes.replace(field, 8, Little(value, 8));
            EXPECT_NE(FaultOf(bytes), "") << "field at " << field << ", value " << value;
        }
    }
}

TEST(KxPmTiles, RefusesARootBehindTheFirstSixteenKilobytes)
{
    Archive archive = SmallArchive();
    archive.m_tiles = std::string(20000, 't');
    std::string bytes = archive.Bytes();
    ASSERT_EQ(FaultOf(bytes), "");
    bytes.replace(8, 8, Little(16380, 8));
    EXPECT_NE(FaultOf(bytes), "");
    bytes.replace(8, 8, Little(16379, 8));
    EXPECT_EQ(FaultOf(bytes), "");
}

} // namespace

} // namespace KxC
