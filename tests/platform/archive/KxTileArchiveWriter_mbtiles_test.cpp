// SPDX-License-Identifier: MIT
#include "ArchiveFiles.h"
#include "KxTileArchiveWriter.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>

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
    // Columns 6 and 7 of 8, row 1: from atan(sinh(-3 pi / 4)) to atan(sinh(-pi / 2)).
    EXPECT_EQ(value("bounds"), "90.000000,-79.171335,180.000000,-66.513260");
}

} // namespace

} // namespace KxC
