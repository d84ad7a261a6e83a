// SPDX-License-Identifier: MIT
#include "KxTileArchivePlaces.h"

#include "ArchiveFiles.h"
#include "KxPmTiles.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <filesystem>
#include <set>
#include <tuple>

namespace KxC {

namespace {

using namespace Test;
using Places = std::multiset<std::tuple<int, int, int>>;
using testing::HasSubstr;

constexpr auto kMbTiles = KxTileArchiveFormat_MBTiles;
constexpr auto kPmTiles = KxTileArchiveFormat_PMTiles;

struct Visited
{
    bool m_isDone = false;
    Places m_places; ///< level, row, column
    std::string m_error;
};

unsigned char Take(int level, int row, int col, void* user)
{
    static_cast<Visited*>(user)->m_places.emplace(level, row, col);
    return 1;
}

Visited Visit(const std::string& path, KxTileArchiveFormat format)
{
    Visited visited;
    KxString error;
    visited.m_isDone = KxTileArchivePlaces::Visit(path.c_str(), format, &Take, &visited, error);
    visited.m_error = error.Cstr();
    return visited;
}

class KxTileArchivePlacesForms : public testing::TestWithParam<KxTileArchiveFormat>
{
protected:
    /// @param bytesOf  of the tile with a number
    template <typename BytesOf>
    void Write(const Places& places, BytesOf bytesOf) const
    {
        KxTileArchiveWriter writer;
        ASSERT_TRUE(writer.Create(m_path.c_str(), GetParam(), {"name", "", ""}));
        int number = 0;
        for (const auto& [level, row, col] : places)
            ASSERT_TRUE(AddTile(writer, level, row, col, bytesOf(number++)));
        ASSERT_TRUE(writer.Finish()) << writer.GetError().Cstr();
    }

    const TempFolder m_folder;
    const std::string m_path = m_folder.File("tiles");
};

INSTANTIATE_TEST_SUITE_P(Both, KxTileArchivePlacesForms, testing::Values(kMbTiles, kPmTiles));

TEST_P(KxTileArchivePlacesForms, AreAllThatWereWritten)
{
    const Places places{{0, 0, 0}, {3, 7, 0}, {3, 0, 7}, {17, 5, 131071}, {30, 1073741823, 12}};
    Write(places, [](int number) { return FakePng(number % 2); });
    const Visited visited = Visit(m_path, GetParam());
    EXPECT_TRUE(visited.m_isDone) << visited.m_error;
    EXPECT_EQ(visited.m_places, places);
    EXPECT_EQ(FilesIn(m_folder.Path()).size(), 1U) << "reading leaves nothing";
}

TEST_P(KxTileArchivePlacesForms, AreFoundInLeavesToo)
{
    Places places;
    for (int i = 0; i < 20000; ++i) // more than a root directory holds
        places.emplace(9, i / 512, i % 512);
    Write(places, [](int number) { return FakePng(number); });
    EXPECT_EQ(Visit(m_path, GetParam()).m_places, places);
}

TEST_P(KxTileArchivePlacesForms, SayWhatTheTilesWereMadeFrom)
{
    // Words that would end a text or begin another, were they taken as they stand.
    const char* const origins[] = {
        "", "city.toml, 256 pixels, png", R"(a "b" \c\ ,"kxtile_origin":"d" 'e' %Q \u0041)"};
    for (const char* const origin : origins) {
        KxTileArchiveWriter writer;
        // A name of somebody's that looks like it is none.
        ASSERT_TRUE(writer.Create(
            m_path.c_str(), GetParam(), {R"(,"kxtile_origin":"name")", "", "", origin}));
        ASSERT_TRUE(AddTile(writer, 0, 0, 0, FakePng(1)));
        ASSERT_TRUE(writer.Finish()) << writer.GetError().Cstr();
        KxString read = "before";
        KxString error;
        ASSERT_TRUE(KxTileArchivePlaces::ReadOrigin(m_path.c_str(), GetParam(), read, error));
        EXPECT_STREQ(read.Cstr(), origin);
    }
    KxString read;
    KxString error;
    WriteFile(m_path, std::string(2000, 'x'));
    EXPECT_FALSE(KxTileArchivePlaces::ReadOrigin(m_path.c_str(), GetParam(), read, error));
    EXPECT_FALSE(error.IsEmpty() != 0);
}

TEST_P(KxTileArchivePlacesForms, KnowTheirOriginThoughItsBytesCannotBeKept)
{
    const std::pair<const char*, const char*> origins[] = {{"w\xE9"
                                                            "a.tif",
                                                            "w?a.tif"},
                                                           {"w\tb.tif", "w?b.tif"},
                                                           {"\xC3\xA9\x7F", "\xC3\xA9\x7F"}};
    for (const auto& [origin, kept] : origins) {
        KxTileArchiveWriter writer;
        ASSERT_TRUE(writer.Create(m_path.c_str(), GetParam(), {"", "", "", origin}));
        ASSERT_TRUE(AddTile(writer, 0, 0, 0, FakePng(1)));
        ASSERT_TRUE(writer.Finish()) << writer.GetError().Cstr();
        KxString read;
        KxString error;
        ASSERT_TRUE(KxTileArchivePlaces::ReadOrigin(m_path.c_str(), GetParam(), read, error));
        EXPECT_STREQ(read.Cstr(), kept);
        EXPECT_TRUE(KxTileArchivePlaces::IsSameOrigin(read, origin));
        EXPECT_FALSE(KxTileArchivePlaces::IsSameOrigin(read, "w.tif"));
    }
}

// Columns of other names, and a table that has no rows.
TEST(KxTileArchivePlaces, SayNothingOfTheirOriginWithoutATableForIt)
{
    const TempFolder folder;
    for (const char* const schema : {"CREATE TABLE metadata(key TEXT, text TEXT)",
                                     "CREATE TABLE metadata(name TEXT)",
                                     "CREATE TABLE metadata(name TEXT, value TEXT)",
                                     "CREATE TABLE other(name TEXT)"}) {
        const std::string path = folder.File(schema);
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, schema, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(database);
        KxString origin = "before";
        KxString error;
        EXPECT_TRUE(KxTileArchivePlaces::ReadOrigin(path.c_str(), kMbTiles, origin, error))
            << schema << ": " << error.Cstr();
        EXPECT_STREQ(origin.Cstr(), "");
    }
}

TEST_P(KxTileArchivePlacesForms, EndWhenTheVisitorHasEnough)
{
    Write({{2, 0, 0}, {2, 0, 1}, {2, 1, 0}, {2, 1, 1}}, [](int) { return FakePng(1); });
    int left = 2;
    KxString error;
    EXPECT_TRUE(KxTileArchivePlaces::Visit(
        m_path.c_str(),
        GetParam(),
        [](int, int, int, void* user) -> unsigned char {
            return --*static_cast<int*>(user) > 0 ? 1 : 0;
        },
        &left,
        error));
    EXPECT_EQ(left, 0);
}

TEST_P(KxTileArchivePlacesForms, AreNotFoundInOtherFiles)
{
    WriteFile(m_path, std::string(1000, 'x'));
    EXPECT_FALSE(Visit(m_path, GetParam()).m_isDone);
    EXPECT_FALSE(Visit(m_path, GetParam()).m_error.empty());
    WriteFile(m_path, "PMTiles\x03");
    EXPECT_FALSE(Visit(m_path, GetParam()).m_isDone);
    EXPECT_FALSE(Visit(m_folder.File("missing"), GetParam()).m_isDone);
    EXPECT_FALSE(Visit(m_folder.Path(), GetParam()).m_isDone);
}

TEST_P(KxTileArchivePlacesForms, AreNotFoundInAFileThatWasCut)
{
    Places places;
    for (int i = 0; i < 20000; ++i)
        places.emplace(9, i / 512, i % 512);
    Write(places, [](int number) { return FakePng(number); });
    // Header and root are there, leaves and pages are not.
    std::filesystem::resize_file(m_path, 20000);
    EXPECT_FALSE(Visit(m_path, GetParam()).m_isDone);
}

// SQLite would make two beside a database that had a log when it was last written.
TEST(KxTileArchivePlaces, AreFoundWithoutMakingFiles)
{
    const TempFolder folder;
    const std::string path = folder.File("a 100%?#.mbtiles");
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database,
                           "PRAGMA journal_mode = WAL;"
                           "CREATE TABLE metadata(name TEXT, value TEXT);"
                           "INSERT INTO metadata VALUES('kxtile_origin', 'city');"
                           "CREATE TABLE tiles(zoom_level, tile_column, tile_row, tile_data);"
                           "INSERT INTO tiles VALUES(1, 1, 0, x'00')",
                           nullptr,
                           nullptr,
                           nullptr),
              SQLITE_OK);
    sqlite3_close(database);
    EXPECT_EQ(Visit(path, kMbTiles).m_places, (Places{{1, 0, 1}}));
    KxString origin;
    KxString error;
    EXPECT_TRUE(KxTileArchivePlaces::ReadOrigin(path.c_str(), kMbTiles, origin, error));
    EXPECT_STREQ(origin.Cstr(), "city");
    EXPECT_EQ(FilesIn(folder.Path().string()).size(), 1U);
    // One of the two versions in its header may be another.
    for (const std::size_t version : {18U, 19U}) {
        std::string bytes = ReadFile(path);
        bytes[version] = 1;
        WriteFile(folder.Path() / "b.mbtiles", bytes);
        Visit(folder.File("b.mbtiles"), kMbTiles);
        EXPECT_EQ(FilesIn(folder.Path().string()).size(), 2U) << version;
    }
}

TEST(KxTileArchivePlaces, PassOverRowsThatAreNoTiles)
{
    const TempFolder folder;
    const std::string path = folder.File("tiles");
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database,
                           "CREATE TABLE tiles(zoom_level, tile_column, tile_row, tile_data);"
                           "INSERT INTO tiles VALUES (1, 1, 0, x'00'), ('a', 0, 0, x'00'),"
                           " (1, 2, 0, x'00'), (NULL, 0, 0, x'00'), (1, -1, 0, x'00'),"
                           " (1, 4294967296, 0, x'00'), (31, 0, 0, x'00'), (2, 3, 1, x'00')",
                           nullptr,
                           nullptr,
                           nullptr),
              SQLITE_OK);
    sqlite3_close(database);
    EXPECT_EQ(Visit(path, kMbTiles).m_places, (Places{{1, 0, 1}, {2, 1, 3}}));
}

TEST(KxTileArchivePlaces, AreNotLookedForWithoutEnd)
{
    const TempFolder folder;
    for (const char* view :
         {// never ends
          "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i FROM n) SELECT i, 0, 0, 0 FROM n",
          // takes 10^12 steps to its first row
          "SELECT a.i, b.i, c.i, d.i FROM t a, t b, t c, t d"
          " WHERE abs(a.i + b.i + c.i + d.i) < 0"}) {
        const std::string path = folder.File("tiles");
        std::filesystem::remove(path);
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
        const std::string sql =
            "CREATE TABLE t(i INTEGER);"
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000)"
            " INSERT INTO t SELECT i FROM n;"
            "CREATE VIEW tiles(zoom_level, tile_column, tile_row, tile_data) AS " +
            std::string(view);
        EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(database);
        EXPECT_FALSE(Visit(path, kMbTiles).m_isDone);
    }
}

/// An archive whose root has these entries, and whose leaves are one directory of the last.
std::string PmTilesOf(const std::vector<KxPmTilesEntry>& root,
                      const std::vector<KxPmTilesEntry>& leaf)
{
    std::vector<unsigned char> rootBytes;
    std::vector<unsigned char> leafBytes;
    KxPmTiles::WriteDirectory(leaf.data(), leaf.size(), leafBytes);
    std::vector<KxPmTilesEntry> entries = root;
    for (KxPmTilesEntry& entry : entries)
        if (entry.IsLeaf())
            entry.m_nLength = static_cast<unsigned int>(leafBytes.size());
    KxPmTiles::WriteDirectory(entries.data(), entries.size(), rootBytes);
    KxPmTilesHeader header;
    header.m_eType = KxPmTilesType_Png;
    header.m_root = {KxPmTiles::kHeaderBytes, rootBytes.size()};
    header.m_metadata = {header.m_root.m_nOffset + rootBytes.size(), 0};
    header.m_leaves = {header.m_metadata.m_nOffset, leafBytes.size()};
    header.m_tiles = {header.m_leaves.m_nOffset + leafBytes.size(), 1};
    std::string bytes(KxPmTiles::kHeaderBytes, '\0');
    KxPmTiles::WriteHeader(header, reinterpret_cast<unsigned char*>(bytes.data()));
    bytes.append(rootBytes.begin(), rootBytes.end());
    bytes.append(leafBytes.begin(), leafBytes.end());
    return bytes + "x";
}

TEST(KxTileArchivePlaces, AreNotReadTwiceFromTheSameLeaf)
{
    const TempFolder folder;
    const std::string path = folder.File("tiles");
    const std::vector<KxPmTilesEntry> leaf{{5, 0, 1, 2}};
    WriteFile(path, PmTilesOf({{5, 0, 1, 0}}, leaf));
    const Visited once = Visit(path, kPmTiles);
    ASSERT_TRUE(once.m_isDone) << once.m_error;
    EXPECT_EQ(once.m_places.size(), 2U);
    WriteFile(path, PmTilesOf({{5, 0, 1, 0}, {7, 0, 1, 0}}, leaf));
    EXPECT_THAT(Visit(path, kPmTiles).m_error, HasSubstr("contradict"));
}

} // namespace

} // namespace KxC
