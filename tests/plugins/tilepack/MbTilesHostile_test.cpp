// SPDX-License-Identifier: MIT
#include "MbTilesPack.h"
#include "PackFile.h"
#include "StepBudget.h"
#include "TilePacks.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace KxC {

namespace {

using namespace Test;

std::string WholeFile(const TempFolder& folder)
{
    MbTilesFile file(folder.File("whole.mbtiles"));
    file.CreateTables();
    file.AddMetadata("bounds", "-180,-85,180,85");
    for (int i = 0; i < 16; ++i)
        file.AddTile(2, i / 4, i % 4, PngOf(static_cast<unsigned char>(i), 0, 0));
    return ReadFile(file.Close());
}

std::string HexOf(const std::string& bytes)
{
    std::string hex;
    for (const char byte : bytes)
        for (const int shift : {4, 0})
            hex += "0123456789abcdef"[static_cast<unsigned char>(byte) >> shift & 15];
    return hex;
}

/// Reads whatever can be; there is nothing to expect but that it ends.
void ReadEverything(const std::string& path)
{
    const auto reader = OpenPack(path);
    if (reader == nullptr)
        return;
    for (int level = 0; level < 4; ++level)
        for (int i = 0; i < 1 << (2 * level); ++i) {
            ReadStored(*reader, level, i >> level, i & ((1 << level) - 1));
            if (level < 2)
                ReadImage(*reader, level, i >> level, i & ((1 << level) - 1));
        }
}

TEST(MbTilesHostile, RefusesADatabaseWithoutTiles)
{
    const TempFolder folder;
    MbTilesFile empty(folder.File("empty.mbtiles"));
    empty.CreateTables();
    EXPECT_EQ(OpenPack(empty.Close()), nullptr);
    MbTilesFile other(folder.File("other.mbtiles"));
    other.Execute("CREATE TABLE something(else_ TEXT)");
    EXPECT_EQ(OpenPack(other.Close()), nullptr);
    MbTilesFile columns(folder.File("columns.mbtiles"));
    columns.Execute("CREATE TABLE tiles(zoom_level INTEGER); INSERT INTO tiles VALUES(1)");
    EXPECT_EQ(OpenPack(columns.Close()), nullptr);
}

TEST(MbTilesHostile, RefusesVectorTiles)
{
    const TempFolder folder;
    MbTilesFile named(folder.File("named.mbtiles"));
    named.CreateTables();
    named.AddMetadata("format", "pbf");
    named.AddTile(0, 0, 0, PngOf(1, 2, 3));
    EXPECT_EQ(OpenPack(named.Close()), nullptr);
    MbTilesFile gzip(folder.File("gzip.mbtiles"));
    gzip.CreateTables();
    gzip.AddTile(0, 0, 0, "\x1f\x8b\x08 and so on");
    EXPECT_EQ(OpenPack(gzip.Close()), nullptr);
}

TEST(MbTilesHostile, SurvivesAFileThatIsCutOffAnywhere)
{
    const TempFolder folder;
    const std::string whole = WholeFile(folder);
    for (std::size_t size = 0; size < whole.size(); size += 509) {
        WriteFile(folder.File("cut.mbtiles"), whole.substr(0, size));
        ReadEverything(folder.File("cut.mbtiles"));
    }
}

TEST(MbTilesHostile, SurvivesRandomBytes)
{
    const TempFolder folder;
    const std::string whole = WholeFile(folder);
    std::mt19937 random(20240607);
    for (int round = 0; round < 200; ++round) {
        std::string bytes = whole;
        for (int i = 0; i < 20; ++i)
            bytes[16 + random() % (bytes.size() - 16)] = static_cast<char>(random());
        WriteFile(folder.File("random.mbtiles"), bytes);
        ReadEverything(folder.File("random.mbtiles"));
    }
}

TEST(MbTilesHostile, FailsToReadATileBeyondItsBound)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.CreateTables();
    file.AddTile(0, 0, 0, PngOf(1, 2, 3));
    file.Execute("INSERT INTO tiles VALUES(1, 0, 0, zeroblob(70000000))");
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    const Stored stored = ReadStored(*reader, 1, 0, 0);
    EXPECT_NE(stored.m_status, 5);
    EXPECT_TRUE(stored.m_isNull);
    EXPECT_EQ(ReadStored(*reader, 0, 0, 0).m_bytes, PngOf(1, 2, 3)) << "others are still read";
}

TEST(MbTilesHostile, FailsToReadATileThatIsNoBytes)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.CreateTables();
    file.AddTile(0, 0, 0, PngOf(1, 2, 3));
    file.Execute("INSERT INTO tiles VALUES(1, 0, 0, 42)");
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    EXPECT_NE(ReadStored(*reader, 1, 0, 0).m_status, 5);
}

TEST(MbTilesHostile, EndsOnViewsThatWouldNot)
{
    const char* const kViews[] = {
        // A recursion without end.
        "CREATE VIEW tiles AS WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n)"
        " SELECT i % 3 AS zoom_level, 0 AS tile_column, 0 AS tile_row, x'00' AS tile_data"
        " FROM n WHERE i < 0",
        // Everything with everything.
        "CREATE TABLE t(a INTEGER);"
        "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n LIMIT 3000)"
        " INSERT INTO t SELECT i FROM n;"
        "CREATE VIEW tiles AS SELECT a.a AS zoom_level, b.a AS tile_column, c.a AS tile_row,"
        " x'00' AS tile_data FROM t a, t b, t c WHERE a.a + b.a + c.a < 0",
        // Bytes out of nothing.
        "CREATE VIEW tiles AS SELECT 0 AS zoom_level, 0 AS tile_column, 0 AS tile_row,"
        " randomblob(1000000000) AS tile_data",
        // A view of itself.
        "CREATE VIEW tiles AS SELECT * FROM tiles"};
    const TempFolder folder;
    int number = 0;
    for (const char* view : kViews) {
        MbTilesFile file(folder.File(std::to_string(number++) + ".mbtiles"));
        file.Execute(view);
        EXPECT_EQ(OpenPack(file.Close()), nullptr) << view;
    }
}

/// Whether a tile is read, be it there or not; the reason otherwise.
std::string Fault(MbTilesPack& pack, const TileAddress& address)
try {
    TileBytes bytes;
    pack.Read(address, bytes);
    return {};
} catch (const PackError& error) {
    return error.what();
}

TEST(MbTilesHostile, GivesAPackUpWhoseTilesTakeTooLongInAll)
{
    // One tile is found at once; for another, 600 rows are looked through 600 times, which takes
    // more than a million steps, and less than two.
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.Execute("CREATE TABLE t(a INTEGER);"
                 "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n LIMIT 600)"
                 " INSERT INTO t SELECT i FROM n;"
                 "CREATE TABLE stored(zoom_level, tile_column, tile_row, tile_data);"
                 "CREATE VIEW tiles AS SELECT * FROM stored UNION ALL"
                 " SELECT 3, 1, 1, x'00' FROM t a, t b WHERE a.a + b.a < 0");
    file.Execute("INSERT INTO stored VALUES(0, 0, 0, x'" + HexOf(PngOf(1, 2, 3)) + "')");
    const std::string path = file.Close();
    constexpr long long kFewSteps = 5000; // thousands, beyond a thousand thousands for each read
    MbTilesPack pack(path, PackFile(path), kFewSteps);
    EXPECT_EQ(Fault(pack, {0, 0, 0}), "");
    EXPECT_EQ(Fault(pack, {3, 1, 1}), "") << "one alone is fair";
    int reads = 1;
    while (reads < 50 && Fault(pack, {3, 1, 1}).empty())
        ++reads;
    EXPECT_GE(reads, 5);
    EXPECT_LT(reads, 50);
    // From now on everything fails at once.
    EXPECT_NE(Fault(pack, {0, 0, 0}).find("too long"), std::string::npos);
    // The reader itself is more patient, by as much as its budget is larger.
    EXPECT_NE(OpenPack(path), nullptr) << KxRasterDataAccessor::GetThreadError().Cstr();
}

TEST(StepBudget, IsSpentByWhatReadsTakeBeyondTheirFairShare)
{
    StepBudget budget(0);
    for (int i = 0; i < 1000000; ++i)
        budget.Charge(1000);
    EXPECT_FALSE(budget.IsSpent()) << "reads that are fair cost nothing";
    budget.Charge(1000 + StepBudget::kSteps - 1);
    EXPECT_FALSE(budget.IsSpent());
    budget.Charge(1001);
    EXPECT_TRUE(budget.IsSpent());
}

TEST(StepBudget, AllowsLargeFilesMoreForEachRead)
{
    StepBudget budget(800'000'000, 10); // a hundred thousand thousands more
    budget.Charge(101'000);
    EXPECT_FALSE(budget.IsSpent());
    budget.Charge(101'010);
    EXPECT_TRUE(budget.IsSpent());
}

TEST(MbTilesHostile, RefusesViewsThatGatherRowsBeforeTheyAnswer)
{
    const TempFolder folder;
    int number = 0;
    for (const std::string end :
         {"ORDER BY stored.tile_data", "GROUP BY stored.tile_data", "UNION SELECT * FROM stored"}) {
        MbTilesFile file(folder.File(std::to_string(number++) + ".mbtiles"));
        file.CreateTables();
        file.AddTile(0, 0, 0, PngOf(1, 2, 3));
        file.Execute("ALTER TABLE tiles RENAME TO stored;"
                     "CREATE VIEW tiles AS SELECT stored.zoom_level, stored.tile_column,"
                     " stored.tile_row, stored.tile_data FROM stored " +
                     end);
        EXPECT_EQ(OpenPack(file.Close()), nullptr) << end;
    }
}

TEST(MbTilesHostile, CallsNothingThatAFileBringsAlong)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.Execute("CREATE VIEW tiles AS SELECT 0 AS zoom_level, 0 AS tile_column, 0 AS tile_row,"
                 " load_extension('/nowhere') AS tile_data");
    EXPECT_EQ(OpenPack(file.Close()), nullptr);
    MbTilesFile search(folder.File("search.mbtiles"));
    search.Execute(
        "CREATE VIRTUAL TABLE tiles USING fts5(zoom_level, tile_column, tile_row, tile_data);"
        "INSERT INTO tiles VALUES(0, 0, 0, 'tile')");
    EXPECT_EQ(OpenPack(search.Close()), nullptr);
}

} // namespace

} // namespace KxC
