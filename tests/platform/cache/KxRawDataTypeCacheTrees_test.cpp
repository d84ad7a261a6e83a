// SPDX-License-Identifier: MIT
// Operations on whole sub-trees: walking, checking, describing, exporting.
#include "CacheFolder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace KxC {
namespace {

using KxRawDataTypeCacheTrees = CacheFolderTest;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pointwise;

/// Writes down what it sees: "level/column/row=bytes".
class Recorder : public KxRawDataTileVisitor
{
public:
    explicit Recorder(std::function<bool()> goOn = [] { return true; }) : m_goOn(std::move(goOn)) {}

    bool Visit(int level, int row, int col, const unsigned char* bytes, unsigned int size) override
    {
        m_seen.push_back(std::to_string(level) + "/" + std::to_string(col) + "/" +
                         std::to_string(row) + "=" +
                         (bytes == nullptr ? "unreadable" : std::string(bytes, bytes + size)));
        return m_goOn();
    }

    std::vector<std::string> m_seen;

private:
    std::function<bool()> m_goOn;
};

TEST_F(KxRawDataTypeCacheTrees, TilesAreVisitedInOrderAndMarkersAreNot)
{
    SaveText(*m_manager, "a", 2, 3, 1, "third");
    SaveText(*m_manager, "a", 2, 1, 1, "second");
    SaveText(*m_manager, "a", -1, 9, 9, "");
    SaveText(*m_manager, "a", 2, 0, 3, "fourth");
    SaveMarker(*m_manager, "a", 2, 2, 2);
    Recorder recorder;
    EXPECT_EQ(m_manager->VisitTiles(kType, "a", recorder), KxRawDataTreeResult_Done);
    EXPECT_THAT(recorder.m_seen,
                ElementsAre("-1/9/9=", "2/1/1=second", "2/1/3=third", "2/3/0=fourth"));
}

TEST_F(KxRawDataTypeCacheTrees, WalkHindersNobodyAndSeesWhatComesNext)
{
    SaveText(*m_manager, "a", 1, 0, 0, "tile");
    Manager other;
    int saved = 0;
    Recorder recorder([&] { return ++saved >= 5 || SaveText(other, "a", 1, 0, saved, "new"); });
    EXPECT_EQ(m_manager->VisitTiles(kType, "a", recorder), KxRawDataTreeResult_Done);
    EXPECT_EQ(recorder.m_seen.size(), 5U);
}

TEST_F(KxRawDataTypeCacheTrees, WalkEndsWhenTheVisitorHasSeenEnough)
{
    SaveText(*m_manager, "a", 1, 0, 0, "tile");
    SaveText(*m_manager, "a", 1, 0, 1, "tile");
    Recorder once([] { return false; });
    EXPECT_EQ(m_manager->VisitTiles(kType, "a", once), KxRawDataTreeResult_Stopped);
    EXPECT_EQ(once.m_seen.size(), 1U);
    Recorder throwing([]() -> bool { throw std::runtime_error("no more"); });
    EXPECT_EQ(m_manager->VisitTiles(kType, "a", throwing), KxRawDataTreeResult_Failed);
}

TEST_F(KxRawDataTypeCacheTrees, WalkOverAddressesThatAreNoNumbersEnds)
{
    for (const char* level : {"4294967296", "'x'", "x'00'", "1e300"}) {
        SaveText(*m_manager, "a", 1, 0, 0, "tile");
        Query(PathOf("a"), std::string("INSERT INTO tiles VALUES(") + level + ", 0, 0, 'theirs')");
        Recorder recorder;
        EXPECT_EQ(m_manager->VisitTiles(kType, "a", recorder), KxRawDataTreeResult_Damaged)
            << level;
        EXPECT_LE(recorder.m_seen.size(), 2U);
        m_manager->ClearSubTree(kType, "a");
    }
}

TEST_F(KxRawDataTypeCacheTrees, NothingForeignOrMissingIsWalked)
{
    Recorder recorder;
    std::vector<KxString> problems;
    EXPECT_EQ(m_manager->VisitTiles(kType, "none", recorder), KxRawDataTreeResult_Missing);
    EXPECT_EQ(m_manager->VisitTiles(kType, "../a", recorder), KxRawDataTreeResult_Missing);
    EXPECT_EQ(m_manager->CheckSubTree(kType, "none", problems), KxRawDataTreeResult_Missing);
    std::filesystem::create_directories(m_folder + "/tiles");
    Query(PathOf("a"), "CREATE TABLE tiles(zoom_level, tile_column, tile_row, tile_data)");
    EXPECT_EQ(m_manager->VisitTiles(kType, "a", recorder), KxRawDataTreeResult_Foreign);
    EXPECT_EQ(m_manager->CheckSubTree(kType, "a", problems), KxRawDataTreeResult_Foreign);
    EXPECT_TRUE(recorder.m_seen.empty());
    EXPECT_FALSE(std::filesystem::exists(PathOf("none")));
}

TEST_F(KxRawDataTypeCacheTrees, CheckTellsWhatIsWrongAndMovesNothing)
{
    for (int col = 0; col < 20; ++col)
        SaveText(*m_manager, "a", 1, 1, col, std::string(20000, 'x'));
    std::vector<KxString> problems;
    EXPECT_EQ(m_manager->CheckSubTree(kType, "a", problems), KxRawDataTreeResult_Done);
    EXPECT_TRUE(problems.empty());
    Restart();
    // Bytes of a tile's own pages are no business of the database: break the table's root.
    const auto root = std::stoul(
        Query(PathOf("a"), "SELECT CAST(rootpage AS TEXT) FROM sqlite_schema WHERE name='tiles'"));
    std::string bytes = ReadBytes(PathOf("a"));
    bytes.replace((root - 1) * 4096, 100, std::string(100, '\xAA'));
    WriteBytes(PathOf("a"), bytes);
    EXPECT_EQ(m_manager->CheckSubTree(kType, "a", problems), KxRawDataTreeResult_Damaged);
    EXPECT_FALSE(problems.empty());
    Recorder recorder;
    EXPECT_EQ(m_manager->VisitTiles(kType, "a", recorder), KxRawDataTreeResult_Done);
    EXPECT_EQ(recorder.m_seen.size(), 20U);
    EXPECT_THAT(recorder.m_seen.front(), HasSubstr("unreadable"));
    EXPECT_EQ(ReadBytes(PathOf("a")), bytes);
}

TEST_F(KxRawDataTypeCacheTrees, DescriptionStaysWithTheTiles)
{
    EXPECT_EQ(m_manager->DescribeSubTree(kType, "a", "city's map"), 0);
    EXPECT_FALSE(std::filesystem::exists(PathOf("a"))) << "nothing is made for it";
    SaveText(*m_manager, "a", 1, 0, 0, "tile");
    EXPECT_EQ(m_manager->DescribeSubTree(kType, "a", "old"), 1);
    EXPECT_EQ(m_manager->DescribeSubTree(kType, "a", "city's map"), 1);
    m_manager->ClearSubTree(kType, "a");
    Restart();
    EXPECT_EQ(m_manager->ListSubTrees(kType).at(0).m_strDescription, "city's map");
    EXPECT_EQ(Query(PathOf("a"), "SELECT value FROM metadata WHERE name = 'description'"),
              "city's map");
}

class KxRawDataTypeCacheExport : public CacheFolderTest
{
protected:
    KxRawDataTreeResult Export(KxRawDataTileVisitor& watcher)
    {
        return m_manager->ExportSubTree(kType,
                                        "a",
                                        {m_output.c_str(), "it's a name", "words", m_attribution},
                                        watcher,
                                        m_report);
    }
    std::string OutputQuery(const std::string& sql) const { return Query(m_output, sql); }

    std::string m_output = m_folder + "/out.mbtiles";
    KxString m_attribution;
    KxRawDataExportReport m_report;
};

/// Of a text with commas between them.
std::vector<double> NumbersOf(const std::string& text)
{
    std::vector<double> numbers;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');)
        numbers.push_back(std::stod(word));
    return numbers;
}

TEST_F(KxRawDataTypeCacheExport, WritesTilesAndCompleteMetadata)
{
    const std::string png = std::string("\x89PNG\r\n\x1a\n", 8) + "rest";
    SaveText(*m_manager, "a", 0, 0, 0, "\xff\xd8\xff");
    SaveText(*m_manager, "a", 2, 0, 0, png);
    SaveText(*m_manager, "a", 2, 1, 0, png);
    SaveText(*m_manager, "a", 2, 4, 0, png); // north of the grid
    SaveText(*m_manager, "a", 2, 2, 0, "");
    Recorder recorder;
    ASSERT_EQ(Export(recorder), KxRawDataTreeResult_Done) << m_report.m_strError.Cstr();
    EXPECT_EQ(recorder.m_seen.size(), 5U);
    EXPECT_EQ(m_report.m_nTiles, 3U);
    EXPECT_EQ(m_report.m_nPictures, 2U);
    EXPECT_EQ(m_report.m_nSkipped, 2U);
    EXPECT_EQ(OutputQuery("SELECT group_concat(zoom_level || '/' || tile_column || '/' || tile_row)"
                          " FROM (SELECT * FROM tiles ORDER BY 1, 2, 3)"),
              "0/0/0,2/0/0,2/0/1");
    EXPECT_EQ(OutputQuery("SELECT tile_data FROM tiles WHERE tile_row = 1"), png);
    EXPECT_EQ(OutputQuery("SELECT group_concat(name || '=' || value, ' ') FROM metadata"
                          " WHERE name NOT IN ('bounds', 'center')"),
              "description=words format=png maxzoom=2 minzoom=0 name=it's a name type=baselayer"
              " version=1");
    // The south-west quarter of level 2, columns 0, rows 0 and 1: from the grid's south, where
    // Web Mercator's square ends, to the equator.
    const double south = -std::atan(std::sinh(std::numbers::pi)) * 180 / std::numbers::pi;
    EXPECT_THAT(NumbersOf(OutputQuery("SELECT value FROM metadata WHERE name = 'bounds'")),
                Pointwise(DoubleNear(1e-12), std::vector<double>{-180.0, south, -90.0, 0.0}));
    EXPECT_THAT(NumbersOf(OutputQuery("SELECT value FROM metadata WHERE name = 'center'")),
                Pointwise(DoubleNear(1e-12), std::vector<double>{-135.0, south / 2, 2.0}));
    EXPECT_EQ(OutputQuery("PRAGMA application_id"), "1297105496"); // "MPBX"
    m_attribution = "\xC2\xA9 it's theirs";
    ASSERT_EQ(Export(recorder), KxRawDataTreeResult_Done) << m_report.m_strError.Cstr();
    EXPECT_EQ(OutputQuery("SELECT value FROM metadata WHERE name = 'attribution'"),
              "\xC2\xA9 it's theirs");
}

TEST_F(KxRawDataTypeCacheExport, NothingIsLeftOfAnExportThatEnds)
{
    SaveText(*m_manager, "a", 0, 0, 0, "\xff\xd8\xff");
    WriteBytes(m_output, "what was there");
    Recorder stopping([] { return false; });
    EXPECT_EQ(Export(stopping), KxRawDataTreeResult_Stopped);
    EXPECT_EQ(ReadBytes(m_output), "what was there");
    Recorder recorder;
    m_output = m_folder + "/none/out.mbtiles";
    EXPECT_EQ(Export(recorder), KxRawDataTreeResult_Failed);
    EXPECT_FALSE(m_report.m_strError.IsEmpty());
    m_manager->ClearSubTree(kType, "a");
    m_output = m_folder + "/empty.mbtiles";
    EXPECT_EQ(Export(recorder), KxRawDataTreeResult_Failed);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder))
        names.push_back(entry.path().filename().string());
    EXPECT_THAT(names, testing::UnorderedElementsAre("out.mbtiles", "tiles"));
}

} // namespace
} // namespace KxC
