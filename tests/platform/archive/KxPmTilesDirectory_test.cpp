// SPDX-License-Identifier: MIT
#include "KxCompress.h"
#include "KxPmTiles.h"
#include "support/ArchiveBytes.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace KxC {

namespace {

using ArchiveBytes::Directory;
using ArchiveBytes::Varint;
using Entries = std::vector<KxPmTilesEntry>;

bool Read(const std::string& bytes,
          KxPmTilesCompression compression,
          Entries& entries,
          KxString& error)
{
    return KxPmTiles::ReadDirectory(reinterpret_cast<const unsigned char*>(bytes.data()),
                                    static_cast<unsigned int>(bytes.size()),
                                    compression,
                                    entries,
                                    error);
}

/// Empty when the directory is read.
std::string FaultOf(const std::string& bytes,
                    KxPmTilesCompression compression = KxPmTilesCompression_None)
{
    Entries entries;
    KxString error;
    return Read(bytes, compression, entries, error) ? "" : error.Cstr();
}

std::string Zipped(const std::string& bytes)
{
    std::vector<unsigned char> zipped;
    EXPECT_TRUE(KxCompress::GZipCompress({bytes.begin(), bytes.end()}, zipped));
    return {zipped.begin(), zipped.end()};
}

auto Parts(const KxPmTilesEntry& entry)
{
    return std::tuple(entry.m_nTileId, entry.m_nOffset, entry.m_nLength, entry.m_nRunLength);
}

TEST(KxPmTiles, ReadsADirectory)
{
    // Three entries: ids 5, 42, 69; runs 1, 2, 0; lengths 1, 2, 3; offsets 0, next, 300.
    const std::string bytes = {3, 5, 37, 27, 1, 2, 0, 1, 2, 3, 1, 0, static_cast<char>(0xAD), 2};
    for (const std::string& packed : {bytes, Zipped(bytes)}) {
        Entries entries;
        KxString error;
        ASSERT_TRUE(Read(packed,
                         packed == bytes ? KxPmTilesCompression_None : KxPmTilesCompression_Gzip,
                         entries,
                         error))
            << error.Cstr();
        ASSERT_EQ(entries.size(), 3U);
        EXPECT_EQ(Parts(entries[0]), std::tuple(5U, 0U, 1U, 1U));
        EXPECT_EQ(Parts(entries[1]), std::tuple(42U, 1U, 2U, 2U));
        EXPECT_EQ(Parts(entries[2]), std::tuple(69U, 300U, 3U, 0U));
        EXPECT_TRUE(entries[2].IsLeaf());
    }
}

TEST(KxPmTiles, ReadsBackWhatItWrote)
{
    Entries entries;
    for (unsigned int i = 0; i < 5000; ++i)
        entries.push_back({7ULL * i + i % 3, 1000ULL * i * i, 1 + i, i % 5});
    std::vector<unsigned char> bytes;
    ASSERT_TRUE(KxPmTiles::WriteDirectory(entries.data(), entries.size(), bytes));
    Entries back;
    KxString error;
    ASSERT_TRUE(Read({bytes.begin(), bytes.end()}, KxPmTilesCompression_Gzip, back, error))
        << error.Cstr();
    ASSERT_EQ(back.size(), entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i)
        ASSERT_EQ(Parts(back[i]), Parts(entries[i])) << i;
}

TEST(KxPmTiles, FindsTheRunOrTheLeafOfATile)
{
    // Tiles 10 to 14, a leaf from 20 on, tile 50.
    const Entries entries = {{10, 0, 1, 5}, {20, 0, 1, 0}, {50, 0, 1, 1}};
    EXPECT_EQ(KxPmTiles::FindEntry(entries, 9), nullptr);
    EXPECT_EQ(KxPmTiles::FindEntry(entries, 10), &entries[0]);
    EXPECT_EQ(KxPmTiles::FindEntry(entries, 14), &entries[0]);
    EXPECT_EQ(KxPmTiles::FindEntry(entries, 15), nullptr);
    EXPECT_EQ(KxPmTiles::FindEntry(entries, 20), &entries[1]);
    EXPECT_EQ(KxPmTiles::FindEntry(entries, 49), &entries[1]);
    EXPECT_EQ(KxPmTiles::FindEntry(entries, 50), &entries[2]);
    EXPECT_EQ(KxPmTiles::FindEntry(entries, 51), nullptr);
    EXPECT_EQ(KxPmTiles::FindEntry({}, 0), nullptr);
}

TEST(KxPmTiles, RefusesADirectoryThatIsCutOff)
{
    const std::string whole = Directory({{0, 0, 100}, {1, 100, 300, 7}, {500, 900, 1, 0}});
    ASSERT_EQ(FaultOf(whole), "");
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_NE(FaultOf(whole.substr(0, size)), "") << size;
    const std::string zipped = Zipped(whole);
    ASSERT_EQ(FaultOf(zipped, KxPmTilesCompression_Gzip), "");
    for (std::size_t size = 0; size < zipped.size(); ++size)
        EXPECT_NE(FaultOf(zipped.substr(0, size), KxPmTilesCompression_Gzip), "") << size;
}

TEST(KxPmTiles, RefusesMoreEntriesThanItWillHold)
{
    EXPECT_NE(FaultOf(Varint(~0ULL)), "");
    EXPECT_NE(FaultOf(Varint(KxPmTiles::kMaxEntries + 1ULL) + std::string(8U << 20U, '\1')), "");
    // A count that the bytes do not bear out takes no memory.
    EXPECT_NE(FaultOf(Varint(KxPmTiles::kMaxEntries)), "");
}

TEST(KxPmTiles, RefusesADirectoryThatInflatesBeyondAllSize)
{
    EXPECT_NE(FaultOf(Zipped(std::string(64U << 20U, '\0')), KxPmTilesCompression_Gzip), "");
}

TEST(KxPmTiles, RefusesNumbersOfMoreThanSixtyFourBits)
{
    const std::string ten(9, static_cast<char>(0xFF));
    EXPECT_NE(FaultOf(std::string("\1") + ten + "\2" + "\1\1\1"), "");
    EXPECT_NE(FaultOf(std::string("\1") + ten + ten + "\1\1\1\1"), "");
    // A length or a run of more than 32 bits.
    EXPECT_NE(FaultOf(Directory({{0, 0, 1ULL << 32U}})), "");
    EXPECT_NE(FaultOf(Directory({{0, 0, 1, 1ULL << 32U}})), "");
}

TEST(KxPmTiles, RefusesTilesThatTheGridLacks)
{
    constexpr unsigned long long kEnd = ((1ULL << 62U) - 1) / 3;
    EXPECT_EQ(FaultOf(Directory({{kEnd - 2, 0, 1, 2}})), "");
    EXPECT_NE(FaultOf(Directory({{kEnd - 2, 0, 1, 3}})), "");
    EXPECT_NE(FaultOf(Directory({{kEnd, 0, 1, 0}})), "");
    EXPECT_NE(FaultOf(Directory({{~0ULL, 0, 1, 9}})), "");
    // The second id would be beyond 64 bits.
    EXPECT_NE(FaultOf(Varint(2) + Varint(2) + Varint(~0ULL) + "\1\1\1\1\1\1"), "");
}

TEST(KxPmTiles, RefusesTilesThatAreThereTwice)
{
    EXPECT_EQ(FaultOf(Directory({{4, 0, 1, 3}, {7, 1, 1}})), "");
    EXPECT_NE(FaultOf(Directory({{4, 0, 1, 4}, {7, 1, 1}})), "");
    EXPECT_NE(FaultOf(Directory({{4, 0, 1}, {4, 1, 1}})), "");
}

TEST(KxPmTiles, RefusesEntriesWithoutBytesOrPlace)
{
    EXPECT_NE(FaultOf(Directory({{0, 0, 0}})), "");
    // The first entry follows nothing.
    EXPECT_NE(FaultOf({1, 0, 1, 1, 0}), "");
    EXPECT_NE(FaultOf(Directory({{0, ~0ULL - 2, 100}})), "");
}

TEST(KxPmTiles, RefusesOtherCompressions)
{
    const std::string bytes = Directory({{0, 0, 1}});
    for (const auto compression : {KxPmTilesCompression_Unknown,
                                   KxPmTilesCompression_Brotli,
                                   KxPmTilesCompression_Zstd,
                                   static_cast<KxPmTilesCompression>(77)})
        EXPECT_NE(FaultOf(bytes, compression), "") << compression;
}

} // namespace

} // namespace KxC
