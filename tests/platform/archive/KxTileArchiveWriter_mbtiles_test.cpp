// SPDX-License-Identifier: MIT
#include "ArchiveFiles.h"
#include "KxTileArchiveWriter.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <sstream>
#include <vector>

namespace KxC {

namespace {

using namespace Test;

/// The first column of the first row, as text.
std::string Ask(const std::string& path, const std::string& sql)
{
    sqlite3* connection = nullptr;
    sqlite3_open_v2(path.c_str(), &connection, SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> owner(connection, &sqlite3_close);
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(connection, sql.c_str(), -1, &statement, nullptr);
    std::string text = "nothing";
    if (sqlite3_step(statement) == SQLITE_ROW)
        text.assign(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)),
                    static_cast<std::size_t>(sqlite3_column_bytes(statement, 0)));
    sqlite3_finalize(statement);
    return text;
}

/// Of a row's edge, in fractions of the world from the south.
double LatitudeOf(double fraction)
{
    return std::atan(std::sinh((2 * fraction - 1) * std::numbers::pi)) * 180 / std::numbers::pi;
}

/// Numbers with commas between them, as exact as their type is.
void ExpectNumbers(const std::string& text, const std::vector<double>& expected)
{
    std::istringstream stream(text);
    std::string number;
    for (const double value : expected) {
        ASSERT_TRUE(std::getline(stream, number, ',')) << text;
        EXPECT_NEAR(std::stod(number), value, 1e-13) << text;
    }
    EXPECT_FALSE(std::getline(stream, number)) << text;
}

std::string Write(const TempFolder& folder)
{
    const std::string path = folder.File("tiles.mbtiles");
    KxTileArchiveWriter writer;
    EXPECT_TRUE(writer.Create(path.c_str(),
                              KxTileArchiveFormat_MBTiles,
                              {"it's a name", "a description", "whom it's owed to"}));
    EXPECT_TRUE(AddTile(writer, 3, 1, 6, FakePng(1)));
    EXPECT_TRUE(AddTile(writer, 3, 1, 7, FakePng(2)));
    EXPECT_TRUE(AddTile(writer, 3, 1, 6, FakePng(2))); // in place of the first
    EXPECT_TRUE(AddTile(writer, 2, 0, 3, FakePng(3)));
    EXPECT_TRUE(writer.Finish());
    return path;
}

TEST(KxTileArchiveWriter, WritesTilesThatAnMbTilesReaderFinds)
{
    const TempFolder folder;
    const std::string path = Write(folder);
    EXPECT_EQ(Ask(path, "SELECT count(*) FROM tiles"), "3");
    EXPECT_EQ(Ask(path,
                  "SELECT tile_data FROM tiles WHERE zoom_level = 3 AND tile_column = 6"
                  " AND tile_row = 1"),
              FakePng(2));
    EXPECT_EQ(Ask(path,
                  "SELECT tile_data FROM tiles WHERE zoom_level = 2 AND tile_column = 3"
                  " AND tile_row = 0"),
              FakePng(3));
    EXPECT_EQ(Ask(path, "PRAGMA integrity_check"), "ok");
    EXPECT_EQ(Ask(path, "PRAGMA application_id"), std::to_string(0x4D504258));
}

TEST(KxTileArchiveWriter, WritesTheMetadataOfMbTiles)
{
    const TempFolder folder;
    const std::string path = Write(folder);
    const auto value = [&](const std::string& name) {
        return Ask(path, "SELECT value FROM metadata WHERE name = '" + name + "'");
    };
    EXPECT_EQ(value("name"), "it's a name");
    EXPECT_EQ(value("description"), "a description");
    EXPECT_EQ(value("attribution"), "whom it's owed to");
    EXPECT_EQ(value("format"), "png");
    EXPECT_EQ(value("minzoom"), "2");
    EXPECT_EQ(value("maxzoom"), "3");
    EXPECT_EQ(value("type"), "baselayer");
    // Columns 6 and 7 of 8, row 1.
    ExpectNumbers(value("bounds"), {90, LatitudeOf(1.0 / 8), 180, LatitudeOf(2.0 / 8)});
    ExpectNumbers(value("center"), {135, (LatitudeOf(1.0 / 8) + LatitudeOf(2.0 / 8)) / 2, 3});
}

/// What the metadata say of an archive that has these columns of row 0 of a level.
std::string ValueFor(const char* name, int level, const std::vector<int>& columns)
{
    const TempFolder folder;
    const std::string path = folder.File("tiles.mbtiles");
    KxTileArchiveWriter writer;
    EXPECT_TRUE(writer.Create(path.c_str(), KxTileArchiveFormat_MBTiles, {"name", "", ""}));
    for (const int column : columns)
        EXPECT_TRUE(AddTile(writer, level, 0, column, FakePng(column)));
    EXPECT_TRUE(writer.Finish());
    return Ask(path, std::string("SELECT value FROM metadata WHERE name = '") + name + "'");
}

TEST(KxTileArchiveWriter, WritesBoundsOfDeepLevelsToTheirLastDigit)
{
    // Six decimals would be a hundred metres' worth of such tiles, three of them wide.
    const std::string bounds = ValueFor("bounds", 30, {536870913});
    ExpectNumbers(bounds,
                  {std::ldexp(360, -30),
                   LatitudeOf(0),
                   std::ldexp(720, -30),
                   LatitudeOf(std::ldexp(1, -30))});
    EXPECT_EQ(bounds.find('e'), std::string::npos) << bounds;
}

TEST(KxTileArchiveWriter, FindsTheCentreOfTilesOnBothSidesOfTheAntimeridian)
{
    const auto centre = [](int level, const std::vector<int>& columns) {
        return std::stod(ValueFor("center", level, columns));
    };
    EXPECT_EQ(centre(3, {7, 0}), 180);
    EXPECT_EQ(centre(3, {6, 7, 0}), 157.5); // 90 to 225 degrees
    EXPECT_EQ(centre(3, {7, 0, 1}), -157.5);
    EXPECT_EQ(centre(20, {1048575, 0}), 180);
    // Columns of 0.088 degrees: 4 before and 12 behind.
    EXPECT_NEAR(centre(12, {4092, 4095, 0, 4, 8, 11}), -180 + 4 * 360.0 / 4096, 360.0 / 1024);
    // Neither side alone, nor all around.
    EXPECT_EQ(centre(3, {0, 1}), -135);
    EXPECT_EQ(centre(3, {0, 1, 2, 3, 4, 5, 6, 7}), 0);
    EXPECT_EQ(centre(0, {0}), 0);
}

} // namespace

} // namespace KxC
