// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "KxPmTiles.h"
#include "KxRasterDescription.h"
#include "TilePacks.h"
#include "support/ArchiveBytes.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

namespace KxC {

namespace {

using namespace Test;

TEST(PackAccessor, AnswersForBothExtensionsInAnyCase)
{
    for (const char* extension : {".mbtiles", ".MBTiles", ".pmtiles", ".PMTILES"}) {
        const auto reader = NewReader(extension);
        ASSERT_NE(reader, nullptr) << extension;
        EXPECT_NE(reader->Initialize(), 0);
        EXPECT_NE(reader->IsAvailable(), 0);
    }
}

TEST(PackAccessor, UnderstandsNoCoordinateSystem)
{
    const auto reader = NewReader(".mbtiles");
    EXPECT_EQ(reader->SetProj4("+proj=longlat"), 0);
    EXPECT_EQ(reader->SetEPSG("4326"), 0);
    EXPECT_EQ(reader->SetEsriPrj(nullptr), 0);
    EXPECT_EQ(reader->SetWKT(""), 0);
    EXPECT_EQ(reader->SetAuthority("EPSG:4326"), 0);
    EXPECT_EQ(reader->SetPrjFile("/nowhere.prj"), 0);
    EXPECT_EQ(reader->GetProjectionError().IsEmpty(), 0);
    KxPoint3d out(7, 8, 9);
    reader->SrcPtToWGS84Pt(KxPoint3d(1, 2, 3), out);
    reader->WGS84PtToSrcPt(KxPoint3d(1, 2, 3), out);
    EXPECT_EQ(out.x, 7);
    EXPECT_EQ(out.y, 8);
    EXPECT_EQ(out.z, 9);
}

TEST(PackAccessor, ReadsNothingBeforeAFileIsOpen)
{
    const auto reader = NewReader(".pmtiles");
    EXPECT_NE(ReadStored(*reader, 0, 0, 0).m_status, 5);
    EXPECT_EQ(ReadImage(*reader, 0, 0, 0), nullptr);
    EXPECT_EQ(reader->GetDataPath().IsEmpty(), 1);
}

TEST(PackAccessor, RefusesWhatIsNoPack)
{
    const TempFolder folder;
    WriteFile(folder.File("empty.mbtiles"), "");
    WriteFile(folder.File("text.mbtiles"), "This is no database, however long the text goes on.");
    WriteFile(folder.File("short.pmtiles"), "PMTiles\3");
    std::filesystem::create_directory(folder.File("folder.mbtiles"));
    ASSERT_EQ(::mkfifo(folder.File("pipe.pmtiles").c_str(), 0600), 0);
    for (const char* name : {"empty.mbtiles",
                             "text.mbtiles",
                             "short.pmtiles",
                             "folder.mbtiles",
                             "pipe.pmtiles",
                             "missing.mbtiles"})
        EXPECT_EQ(OpenPack(folder.File(name)), nullptr) << name;
}

TEST(PackAccessor, SaysWhyAFileWasRefusedAndLogsNothing)
{
    const TempFolder folder;
    ASSERT_NE(NewReader(".mbtiles"), nullptr);
    const KxString before = KxFile::m_strAppCachePath;
    KxFile::m_strAppCachePath = folder.Path().c_str();
    WriteFile(folder.File("text.mbtiles"), "no database");
    EXPECT_EQ(OpenPack(folder.File("text.mbtiles")), nullptr);
    KxFile::m_strAppCachePath = before;
    EXPECT_STREQ(KxRasterDataAccessor::GetThreadError().Cstr(),
                 "it is neither an MBTiles database nor a PMTiles archive");
    EXPECT_FALSE(std::filesystem::exists(folder.File("kxtile.log")));
}

TEST(PackAccessor, ForgetsTheReasonWhenAFileOpens)
{
    const TempFolder folder;
    EXPECT_EQ(OpenPack(folder.File("missing.mbtiles")), nullptr);
    EXPECT_EQ(KxRasterDataAccessor::GetThreadError().IsEmpty(), 0);
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.CreateTables();
    file.AddTile(0, 0, 0, PngOf(1, 2, 3));
    EXPECT_NE(OpenPack(file.Close()), nullptr);
    EXPECT_EQ(KxRasterDataAccessor::GetThreadError().IsEmpty(), 1);
}

TEST(PackAccessor, CountsTilesThatItCannotReadAndNoneThatAreNotThere)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.CreateTables();
    file.AddTile(1, 0, 0, PngOf(1, 2, 3));
    file.AddTile(1, 1, 1, "\x89PNG\r\n\x1a\nand no more"); // not decodable
    file.Execute("INSERT INTO tiles VALUES(1, 0, 1, 42)"); // no bytes
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    const auto failures = [&](const std::function<void()>& read) {
        const unsigned long long before = KxRasterDataAccessor::GetThreadReadFailures();
        read();
        return KxRasterDataAccessor::GetThreadReadFailures() - before;
    };
    EXPECT_EQ(failures([&] { ReadStored(*reader, 1, 0, 0); }), 0U);
    EXPECT_EQ(failures([&] { ReadStored(*reader, 1, 0, 1); }), 0U) << "not there";
    EXPECT_EQ(failures([&] { ReadStored(*reader, 1, 1, 0); }), 1U) << "a number";
    EXPECT_STREQ(KxRasterDataAccessor::GetThreadError().Cstr(), "a tile is no picture");
    EXPECT_EQ(failures([&] { ReadImage(*reader, 1, 0, 0); }), 0U);
    EXPECT_EQ(failures([&] { ReadImage(*reader, 1, 1, 1); }), 1U) << "a broken picture";
    EXPECT_STREQ(KxRasterDataAccessor::GetThreadError().Cstr(), "a picture in it is damaged");
}

TEST(PackAccessor, FailsToReadWhatAnArchiveHasLost)
{
    const TempFolder folder;
    using namespace ArchiveBytes;
    Archive archive;
    archive.m_tiles = PngOf(1, 2, 3);
    archive.m_root = Directory({{0, 0, archive.m_tiles.size()}});
    WriteFile(folder.File("pack.pmtiles"), archive.Bytes());
    const auto reader = OpenPack(folder.File("pack.pmtiles"));
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(ReadStored(*reader, 0, 0, 0).m_status, 5);
    std::filesystem::resize_file(folder.File("pack.pmtiles"), archive.Bytes().size() - 1);
    const unsigned long long before = KxRasterDataAccessor::GetThreadReadFailures();
    EXPECT_NE(ReadStored(*reader, 0, 0, 0).m_status, 5);
    EXPECT_EQ(KxRasterDataAccessor::GetThreadReadFailures(), before + 1);
}

TEST(PackAccessor, TellsTheFormatByTheContent)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.pmtiles"));
    file.CreateTables();
    file.AddTile(0, 0, 0, PngOf(1, 2, 3));
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(ReadStored(*reader, 0, 0, 0).m_bytes, PngOf(1, 2, 3));
}

/// Level 3, each tile with bytes of its own.
std::string BytesOf(int row, int col)
{
    return PngOf(static_cast<unsigned char>(row), static_cast<unsigned char>(col), 9);
}

void ReadFromManyThreads(KxRasterDataAccessor& reader)
{
    std::vector<std::string> expected;
    for (int i = 0; i < 64; ++i)
        expected.push_back(BytesOf(i / 8, i % 8));
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 64; ++i) {
                const int which = (i * 7 + thread * 13) % 64;
                const Stored stored = ReadStored(reader, 3, which / 8, which % 8);
                wrong += stored.m_bytes == expected[static_cast<std::size_t>(which)] ? 0 : 1;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong.load(), 0);
}

TEST(PackAccessor, ReadsADatabaseFromSeveralThreadsAtOnce)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.CreateTables();
    for (int i = 0; i < 64; ++i)
        file.AddTile(3, i / 8, i % 8, BytesOf(i / 8, i % 8));
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    ReadFromManyThreads(*reader);
}

TEST(PackAccessor, ReadsAnArchiveFromSeveralThreadsAtOnce)
{
    using namespace ArchiveBytes;
    // Level 3 begins at id 21; the quarter of id 21 to 36 is in one leaf, and so on.
    Archive archive;
    std::vector<Entry> root;
    for (unsigned int leaf = 0; leaf < 4; ++leaf) {
        std::vector<Entry> entries;
        for (unsigned int i = 0; i < 16; ++i) {
            int level = 0;
            int row = 0;
            int col = 0;
            const Number id = 21 + 16 * leaf + i;
            ASSERT_TRUE(KxPmTiles::PlaceOf(id, level, row, col));
            const std::string bytes = BytesOf(row, col);
            entries.push_back({id, archive.m_tiles.size(), bytes.size()});
            archive.m_tiles += bytes;
        }
        const std::string bytes = Directory(entries);
        root.push_back({21 + 16 * leaf, archive.m_leaves.size(), bytes.size(), 0});
        archive.m_leaves += bytes;
    }
    archive.m_root = Directory(root);
    const TempFolder folder;
    WriteFile(folder.File("pack.pmtiles"), archive.Bytes());
    const auto reader = OpenPack(folder.File("pack.pmtiles"));
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->GetMinLevel(), 3);
    EXPECT_EQ(reader->GetMaxLevel(), 3);
    ReadFromManyThreads(*reader);
}

TEST(PackAccessor, DescribesTheSystemOfTheTilesGrid)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.CreateTables();
    file.AddTile(0, 0, 0, PngOf(1, 2, 3));
    const auto reader = OpenPack(file.Close());
    const auto* const describer = dynamic_cast<const KxRasterDescriber*>(reader.get());
    ASSERT_NE(describer, nullptr);
    KxRasterDescription description;
    describer->Describe(description);
    EXPECT_EQ(description.m_nEpsg, 3857);
    EXPECT_EQ(description.m_nWidth, 0) << "each level has its own";
}

} // namespace

} // namespace KxC
