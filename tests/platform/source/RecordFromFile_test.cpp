// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "RecordOnDisk.h"

#include <gmock/gmock.h>

#include <fstream>

namespace KxC {
namespace {

using test::LoadedRecord;

constexpr char kUrl[] = "url = 'http://a/{$z}/{$x}/{$y}'\n";

TEST(RecordFromFile, MapsSchemeWordsAndNumbers)
{
    const auto scheme = [](const std::string& text) {
        return LoadedRecord(kUrl + ("scheme = " + text)).Item().m_nTileScheme;
    };
    EXPECT_EQ(scheme("'webmercatorwgs84'"), 10);
    EXPECT_EQ(scheme("'TianDiTuLatLon'"), 5);
    EXPECT_EQ(scheme("'LATLONWGS84'"), 9);
    EXPECT_EQ(scheme("'BingMap'"), 6);
    EXPECT_EQ(scheme("'12'"), 12);
    EXPECT_EQ(scheme("12"), 12);
    EXPECT_EQ(scheme("'mercator'"), 0);
}

TEST(RecordFromFile, MapsDatumAndRows)
{
    const auto item = [](const std::string& more) { return LoadedRecord(kUrl + more); };
    EXPECT_EQ(item("datum = 'gcj02'").Item().m_nDatum, 1);
    EXPECT_EQ(item("datum = 'bd09'").Item().m_nDatum, 2);
    EXPECT_EQ(item("datum = 'WGS84'").Item().m_nDatum, 0);
    EXPECT_EQ(item("rows = '1'").Item().m_nSouthToNorth, 1);
    EXPECT_EQ(item("rows = 'southtonorth'").Item().m_nSouthToNorth, 1);
    EXPECT_EQ(item("rows = 'south'").Item().m_nSouthToNorth, 0);
}

TEST(RecordFromFile, AnAxisOrderWithBlanksIsNone)
{
    EXPECT_EQ(LoadedRecord("url = 'http://a/%d/%d/%d'\naxis_order = 'Y,Z,X'").Item().m_nAxisOrder,
              5);
    EXPECT_EQ(LoadedRecord("url = 'http://a/%d/%d/%d'\naxis_order = 'Y, Z, X'").Item().m_nAxisOrder,
              0);
}

TEST(RecordFromFile, ServersAreSplitAtCommasAndBlanks)
{
    LoadedRecord record("url = 'http://{$serverpart}/{$z}/{$x}/{$y}'\nservers = 'a,b c'");
    EXPECT_EQ(record.Item().m_arrServerParts.GetSize(), 3);
    EXPECT_EQ(record.Item().m_bHasServerPart, 1);
}

TEST(RecordFromFile, AScriptLiesBesideTheDefinition)
{
    const test::ScratchFolder folder;
    folder.Write("in/tile.lua",
                 "function GetTileURL(z, y, x) return z .. '/' .. y .. '/' .. x end");
    KxTSDParamItem item;
    item.LoadFromTSDFile(folder.Write("in/a.toml", "url = 'tile.lua'\nrows = '1'").c_str());
    EXPECT_EQ(item.m_bLuaScripted, 1);
    EXPECT_STREQ(KxTileFetcher::GetURL(&item, 3, 2, 6).Cstr(), "3/2/6");
}

TEST(RecordFromFile, WhatCannotBeReadGivesAnEmptyRecordAndALogLine)
{
    const test::ScratchFolder cache;
    const KxString before = KxFile::m_strAppCachePath;
    KxFile::m_strAppCachePath = cache.Path().c_str();
    for (const char* text :
         {"url = 'http://a/{z}/{x}/{y}'\nscheme = 'x", "{\"tiles\": 5}", "<a>"}) {
        LoadedRecord record(text);
        EXPECT_EQ(record.Item().m_bFromDefinitionFile, 1);
        EXPECT_EQ(record.Item().m_bLuaScripted, 0);
        EXPECT_STREQ(record.Item().m_strUrlTemplate.Cstr(), "");
        EXPECT_EQ(record.Item().m_nTileScheme, 0);
        EXPECT_STREQ(record.Item().m_strHashKey.Cstr(), KxUtility::GetValidHashKey("").Cstr());
    }
    KxFile::m_strAppCachePath = before;
    std::ifstream log(cache.Path() + "/kxtile.log", std::ios::binary);
    const std::string lines{std::istreambuf_iterator<char>(log), {}};
    // GBK of the Chinese words for "failed to open", as iconv writes them.
    constexpr char kFailed[] = "\xB4\xF2\xBF\xAA\xCA\xA7\xB0\xDC\xA3\xA1";
    EXPECT_THAT(lines, ::testing::HasSubstr(std::string("definition") + kFailed));
}

} // namespace
} // namespace KxC
