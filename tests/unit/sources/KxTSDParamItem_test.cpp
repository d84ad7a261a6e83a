// SPDX-License-Identifier: MIT
#include "KxTSDParam.h"
#include "unit/support/ScriptedDefinition.h"
#include "unit/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <memory>

namespace KxC {
namespace {

using Testing::ScriptedDefinition;
using Testing::TemporaryFolder;

/// The record of a definition that `change` made different from a plain one.
template <typename Change>
std::unique_ptr<KxTSDParamItem> LoadedWith(Change change)
{
    ScriptedDefinition definition;
    change(definition);
    auto item = std::make_unique<KxTSDParamItem>();
    item->LoadFromTSDFile("a.toml");
    return item;
}

int SchemeOf(const char* text)
{
    return LoadedWith([&](ScriptedDefinition& d) { d.m_scheme = text; })->m_nTileScheme;
}

int DatumOf(const char* text)
{
    return LoadedWith([&](ScriptedDefinition& d) { d.m_datum = text; })->m_nDatum;
}

int AxisOrderOf(const char* text)
{
    return LoadedWith([&](ScriptedDefinition& d) { d.m_axisOrder = text; })->m_nAxisOrder;
}

int SouthToNorthOf(const char* text)
{
    return LoadedWith([&](ScriptedDefinition& d) { d.m_rowDirection = text; })->m_nSouthToNorth;
}

void LoadTemplate(KxTSDParamItem& item, const char* urlTemplate, int scheme = 10)
{
    item.LoadFromParam(urlTemplate, "", scheme, 0, 0, 0, 256, "png", 0, KxTime());
}

TEST(KxTSDParamItem, StartsWithItsDefaults)
{
    KxTSDParamItem item;
    EXPECT_EQ(item.m_bFromDefinitionFile, 0);
    EXPECT_EQ(item.m_nTileScheme, 0);
    EXPECT_EQ(item.m_nDatum, 0);
    EXPECT_EQ(item.m_bOption1, 0);
    EXPECT_EQ(item.m_bOption2, 0);
    EXPECT_EQ(item.m_bOption3, 1);
    EXPECT_EQ(item.m_bHasServerPart, 0);
    EXPECT_EQ(item.m_levelBounds.m_nMinLevel, 0);
    EXPECT_EQ(item.m_levelBounds.m_nMaxLevel, 0);
    EXPECT_EQ(item.m_levelBounds.m_rect.m_dLeft, 0.0);
    EXPECT_EQ(item.m_nTileSize, 256);
    EXPECT_EQ(item.m_nValue1, 1);
    EXPECT_EQ(item.m_nValue2, 1);
    EXPECT_EQ(item.m_nValue3, 0);
    EXPECT_EQ(item.m_nLevelOffset, 0);
    EXPECT_EQ(item.m_nSouthToNorth, 0);
    EXPECT_EQ(item.m_nAxisOrder, 0);
    EXPECT_EQ(item.m_bLuaScripted, 0);
    EXPECT_EQ(item.m_bHistoryDataUsed, 0);
    EXPECT_EQ(item.m_historyTime.GetYear(), 0);
    EXPECT_EQ(item.m_pGeFetcher, nullptr);
    EXPECT_EQ(item.m_arrServerParts.GetSize(), 0);
    EXPECT_EQ(item.m_arrRequestHeaders.GetSize(), 0);
    for (const KxString* text : {&item.m_strKey,
                                 &item.m_strImageFormat,
                                 &item.m_strAttr1,
                                 &item.m_strVersion,
                                 &item.m_strAttr2,
                                 &item.m_strAttr3,
                                 &item.m_strUrlTemplate,
                                 &item.m_strRowDirection,
                                 &item.m_strAttr4,
                                 &item.m_strUserAgent,
                                 &item.m_strAttr5,
                                 &item.m_strHashKey,
                                 &item.m_strServerParts})
        EXPECT_EQ(text->GetLength(), 0);
}

TEST(LoadFromTSDFile, PutsEveryValueInItsPlace)
{
    ScriptedDefinition definition;
    definition.m_levelBounds.m_rect = KxRect2d(1, 2, 3, 4);
    definition.m_levelBounds.m_nMinLevel = 5;
    definition.m_levelBounds.m_nMaxLevel = 6;
    definition.m_tileSize = 512;
    definition.m_values[0] = 11;
    definition.m_values[1] = 12;
    definition.m_values[2] = 13;
    definition.m_imageFormat = "png";
    for (int i = 0; i < 5; ++i)
        definition.m_attrs[i].Format("attr%d", i + 1);
    definition.m_version = "v7";
    definition.m_urlTemplate = "http://h/%d/%d/%d";
    definition.m_options[0] = 1;
    definition.m_options[1] = 1;
    definition.m_options[2] = 0;
    definition.m_levelOffset = -2;
    definition.m_rowDirection = "NorthToSouth";
    definition.m_userAgent = "agent";
    definition.m_headers = {"A: 1", "B: 2"};
    KxTSDParamItem item;
    item.LoadFromTSDFile("some.toml");
    EXPECT_EQ(item.m_levelBounds.m_rect.m_dLeft, 1);
    EXPECT_EQ(item.m_levelBounds.m_rect.m_dTop, 2);
    EXPECT_EQ(item.m_levelBounds.m_rect.m_dRight, 3);
    EXPECT_EQ(item.m_levelBounds.m_rect.m_dBottom, 4);
    EXPECT_EQ(item.m_levelBounds.m_nMinLevel, 5);
    EXPECT_EQ(item.m_levelBounds.m_nMaxLevel, 6);
    EXPECT_EQ(item.m_nTileSize, 512);
    EXPECT_EQ(item.m_nValue1, 11);
    EXPECT_EQ(item.m_nValue2, 12);
    EXPECT_EQ(item.m_nValue3, 13);
    EXPECT_STREQ(item.m_strImageFormat.Cstr(), "png");
    EXPECT_STREQ(item.m_strAttr1.Cstr(), "attr1");
    EXPECT_STREQ(item.m_strAttr2.Cstr(), "attr2");
    EXPECT_STREQ(item.m_strAttr3.Cstr(), "attr3");
    EXPECT_STREQ(item.m_strAttr4.Cstr(), "attr4");
    EXPECT_STREQ(item.m_strAttr5.Cstr(), "attr5");
    EXPECT_STREQ(item.m_strVersion.Cstr(), "v7");
    EXPECT_STREQ(item.m_strUrlTemplate.Cstr(), "http://h/%d/%d/%d");
    EXPECT_EQ(item.m_bOption1, 1);
    EXPECT_EQ(item.m_bOption2, 1);
    EXPECT_EQ(item.m_bOption3, 0);
    EXPECT_EQ(item.m_nLevelOffset, -2);
    EXPECT_STREQ(item.m_strRowDirection.Cstr(), "NorthToSouth");
    EXPECT_STREQ(item.m_strUserAgent.Cstr(), "agent");
    ASSERT_EQ(item.m_arrRequestHeaders.GetSize(), 2);
    EXPECT_STREQ(item.m_arrRequestHeaders[1].Cstr(), "B: 2");
    EXPECT_EQ(item.m_bFromDefinitionFile, 1);
    EXPECT_EQ(item.m_pGeFetcher, nullptr);
    ASSERT_EQ(definition.m_pathsRead.size(), 1U);
    EXPECT_EQ(definition.m_pathsRead[0], "some.toml");
}

TEST(LoadFromTSDFile, TurnsSchemeTextsIntoCodesFirstMatchFirst)
{
    EXPECT_EQ(SchemeOf("TianDiTuLatLon"), 5);
    EXPECT_EQ(SchemeOf("LatLonWGS84"), 9);
    EXPECT_EQ(SchemeOf("webmercatorwgs84"), 10);
    EXPECT_EQ(SchemeOf("BINGMAP"), 6);
    EXPECT_EQ(SchemeOf("12"), 12);
    EXPECT_EQ(SchemeOf("SomeWord"), 0);
    EXPECT_EQ(SchemeOf(""), 0);
    EXPECT_EQ(SchemeOf(" \t+8x"), 8);
    EXPECT_EQ(SchemeOf("-3"), -3);
    EXPECT_EQ(SchemeOf("- 3"), 0);
    EXPECT_EQ(SchemeOf("10.9"), 10);
    EXPECT_EQ(SchemeOf("BingMap "), 0) << "a keyword with a blank is none";
    EXPECT_EQ(SchemeOf("99999999999999999999999999"), 2147483647);
    EXPECT_EQ(SchemeOf("-99999999999999999999999999"), -2147483647 - 1);
}

TEST(LoadFromTSDFile, TurnsDatumTextsIntoCodes)
{
    EXPECT_EQ(DatumOf("gcj02"), 1);
    EXPECT_EQ(DatumOf("BD09"), 2);
    EXPECT_EQ(DatumOf("WGS84"), 0);
    EXPECT_EQ(DatumOf(""), 0);
}

TEST(LoadFromTSDFile, TurnsRowDirectionsIntoAFlag)
{
    EXPECT_EQ(SouthToNorthOf("1"), 1);
    EXPECT_EQ(SouthToNorthOf("southtonorth"), 1);
    EXPECT_EQ(SouthToNorthOf("SouthToNorth"), 1);
    EXPECT_EQ(SouthToNorthOf("south"), 0);
    EXPECT_EQ(SouthToNorthOf("0"), 0);
    EXPECT_EQ(SouthToNorthOf("2"), 0);
}

TEST(LoadFromTSDFile, TurnsAxisOrdersIntoCodes)
{
    EXPECT_EQ(AxisOrderOf("Z,X,Y"), 0);
    EXPECT_EQ(AxisOrderOf("x,y,z"), 1);
    EXPECT_EQ(AxisOrderOf("Z,y,X"), 2);
    EXPECT_EQ(AxisOrderOf("X,Z,Y"), 3);
    EXPECT_EQ(AxisOrderOf("Y,X,Z"), 4);
    EXPECT_EQ(AxisOrderOf("Y,Z,X"), 5);
    EXPECT_EQ(AxisOrderOf("X, Y, Z"), 0) << "blanks match nothing";
}

TEST(LoadFromTSDFile, KeepsTheFirstLoadsCodesWhereTheSecondMatchesNothing)
{
    ScriptedDefinition definition;
    definition.m_axisOrder = "Y,Z,X";
    definition.m_rowDirection = "1";
    definition.m_serverParts = "a b";
    KxTSDParamItem item;
    item.LoadFromTSDFile("a.toml");
    definition.m_axisOrder = "none";
    definition.m_rowDirection = "none";
    item.LoadFromTSDFile("a.toml");
    EXPECT_EQ(item.m_nAxisOrder, 5);
    EXPECT_EQ(item.m_nSouthToNorth, 1);
    EXPECT_EQ(item.m_arrServerParts.GetSize(), 4);
}

TEST(LoadFromTSDFile, SplitsServersOnBlanksAndCommas)
{
    ScriptedDefinition definition;
    definition.m_serverParts = "t1,t2 t3";
    KxTSDParamItem item;
    item.LoadFromTSDFile("a.toml");
    ASSERT_EQ(item.m_arrServerParts.GetSize(), 3);
    EXPECT_STREQ(item.m_arrServerParts[0].Cstr(), "t1");
    EXPECT_STREQ(item.m_arrServerParts[1].Cstr(), "t2");
    EXPECT_STREQ(item.m_arrServerParts[2].Cstr(), "t3");
    EXPECT_STREQ(item.m_strServerParts.Cstr(), "t1,t2 t3");
    EXPECT_EQ(item.m_bHasServerPart, 0) << "no placeholder";
}

TEST(LoadFromTSDFile, ReplacesOneFormOfTheServerPlaceholder)
{
    ScriptedDefinition definition;
    definition.m_urlTemplate = "{$serverpart}{$serverpart}-{$Serverpart}";
    KxTSDParamItem both;
    both.LoadFromTSDFile("a.toml");
    EXPECT_STREQ(both.m_strUrlTemplate.Cstr(), "%s%s-{$Serverpart}");
    EXPECT_EQ(both.m_bHasServerPart, 1);
    definition.m_urlTemplate = "{$Serverpart}";
    KxTSDParamItem second;
    second.LoadFromTSDFile("a.toml");
    EXPECT_STREQ(second.m_strUrlTemplate.Cstr(), "%s");
    EXPECT_EQ(second.m_bHasServerPart, 1);
    definition.m_urlTemplate = "{$ServerPart}";
    KxTSDParamItem none;
    none.LoadFromTSDFile("a.toml");
    EXPECT_STREQ(none.m_strUrlTemplate.Cstr(), "{$ServerPart}");
    EXPECT_EQ(none.m_bHasServerPart, 0);
}

TEST(LoadFromTSDFile, KeysTheSourceByItsTemplateBeforeTheServerIsReplaced)
{
    ScriptedDefinition definition;
    definition.m_urlTemplate = "http://{$serverpart}.h/%d";
    KxTSDParamItem item;
    item.LoadFromTSDFile("a.toml");
    EXPECT_EQ(item.m_strHashKey, KxUtility::GetValidHashKey("http://{$serverpart}.h/%d"));
    EXPECT_EQ(item.m_strKey.GetLength(), 0) << "the registry's to write";
}

TEST(LoadFromTSDFile, LoadsTheScriptBesideTheDefinition)
{
    const TemporaryFolder folder;
    folder.Write("tiles.LUA", "function GetTileURL(l, r, c) return 'file' end");
    ScriptedDefinition definition;
    definition.m_urlTemplate = "tiles.LUA";
    KxTSDParamItem item;
    item.LoadFromTSDFile((folder.Path() / "source.toml").c_str());
    EXPECT_EQ(item.m_bLuaScripted, 1);
    EXPECT_STREQ(item.m_luaToolkit.GetTileURL(1, 0, 0).Cstr(), "file");
}

TEST(LoadFromTSDFile, PrefersTheScriptTextToTheScriptFile)
{
    const TemporaryFolder folder;
    folder.Write("tiles.lua", "function GetTileURL(l, r, c) return 'file' end");
    ScriptedDefinition definition;
    definition.m_urlTemplate = "tiles.lua";
    definition.m_script = "function GetTileURL(l, r, c) return 'text' end";
    KxTSDParamItem item;
    item.LoadFromTSDFile((folder.Path() / "source.toml").c_str());
    EXPECT_STREQ(item.m_luaToolkit.GetTileURL(1, 0, 0).Cstr(), "text");
}

TEST(LoadFromTSDFile, StaysScriptedWhenTheScriptDoesNotLoad)
{
    ScriptedDefinition definition;
    definition.m_urlTemplate = "/nowhere/missing.lua";
    KxTSDParamItem item;
    item.LoadFromTSDFile("a.toml");
    EXPECT_EQ(item.m_bLuaScripted, 1);
    EXPECT_EQ(item.m_luaToolkit.GetTileURL(1, 0, 0).GetLength(), 0);
}

TEST(LoadFromTSDFile, MakesAFetcherForSchemeEightOnly)
{
    ScriptedDefinition definition;
    definition.m_scheme = "8";
    KxTSDParamItem item;
    item.LoadFromTSDFile("a.toml");
    ASSERT_NE(item.m_pGeFetcher, nullptr);
    EXPECT_EQ(item.m_pGeFetcher->GetHistroyDataUsed(), 0);
    const KxGeFetcher* first = item.m_pGeFetcher;
    item.LoadFromTSDFile("a.toml");
    EXPECT_EQ(item.m_pGeFetcher, first);
}

TEST(LoadFromTSDFile, LogsADefinitionThatCannotBeRead)
{
    const TemporaryFolder folder;
    ScriptedDefinition definition;
    definition.m_result = 0;
    KxTSDParamItem item;
    item.LoadFromTSDFile("/no/\xE5\x9B\xBE.toml");
    // The path's 图 is CD BC in GBK; the text after it reads 打开失败！
    EXPECT_EQ(folder.Read("kxtile.log"),
              "/no/\xCD\xBC.toml\xB4\xF2\xBF\xAA\xCA\xA7\xB0\xDC\xA3\xA1\n");
    EXPECT_EQ(item.m_bFromDefinitionFile, 1);
    EXPECT_EQ(item.m_strUrlTemplate.GetLength(), 0);
    EXPECT_EQ(item.m_bLuaScripted, 0);
    EXPECT_EQ(item.m_strHashKey, KxUtility::GetValidHashKey(""));
}

TEST(LoadFromParam, TakesTheAxisOrderFromThePlaceholders)
{
    struct Case
    {
        const char* m_template;
        int m_order;
        const char* m_format;
    };
    const Case cases[] = {
        {"/{$z}/{$x}/{$y}", 0, "/%d/%d/%d"},
        {"/{$x}/{$y}/{$z}", 1, "/%d/%d/%d"},
        {"/{$z}/{$y}/{$x}", 2, "/%d/%d/%d"},
        {"/{$x}/{$z}/{$y}", 3, "/%d/%d/%d"},
        {"/{$y}/{$x}/{$z}", 4, "/%d/%d/%d"},
        {"/{$y}/{$z}/{$x}", 5, "/%d/%d/%d"},
        {"/{$x}/{$y}", 0, "/%d/%d"},           // Z is absent: it comes first
        {"/{$X}/{$y}/{$z}", 1, "/{$X}/%d/%d"}, // capitals are no placeholder; X comes first
        {"/plain", 1, "/plain"},               // all absent keep X, Y, Z
        // Y and Z absent: the exchange sort brings Y before Z.
        {"/{$x}", 5, "/%d"},
        {"/{$z}/{$z}/{$x}/{$y}", 0, "/%d/%d/%d/%d"},
    };
    for (const Case& each : cases) {
        KxTSDParamItem item;
        LoadTemplate(item, each.m_template);
        EXPECT_EQ(item.m_nAxisOrder, each.m_order) << each.m_template;
        EXPECT_STREQ(item.m_strUrlTemplate.Cstr(), each.m_format);
    }
}

TEST(LoadFromParam, CopiesItsArgumentsAndIgnoresTheFormat)
{
    KxTSDParamItem item;
    item.LoadFromParam("http://h/{$Serverpart}", "a,b c", 14, 2, 1, 3, 512, "png", 0, KxTime());
    EXPECT_EQ(item.m_nTileScheme, 14);
    EXPECT_EQ(item.m_nDatum, 2);
    EXPECT_EQ(item.m_nSouthToNorth, 1);
    EXPECT_EQ(item.m_nLevelOffset, 3);
    EXPECT_EQ(item.m_nTileSize, 512);
    EXPECT_EQ(item.m_strImageFormat.GetLength(), 0);
    EXPECT_EQ(item.m_arrServerParts.GetSize(), 3);
    EXPECT_EQ(item.m_strServerParts.GetLength(), 0);
    EXPECT_EQ(item.m_bHasServerPart, 1);
    EXPECT_STREQ(item.m_strUrlTemplate.Cstr(), "http://h/%s");
    EXPECT_EQ(item.m_bFromDefinitionFile, 0);
    EXPECT_EQ(item.m_strHashKey, KxUtility::GetValidHashKey("http://h/{$Serverpart}"));
}

TEST(LoadFromParam, NeverTakesATemplateForAScript)
{
    KxTSDParamItem item;
    LoadTemplate(item, "tiles.lua");
    EXPECT_EQ(item.m_bLuaScripted, 0);
    EXPECT_STREQ(item.m_strUrlTemplate.Cstr(), "tiles.lua");
}

TEST(LoadFromParam, KeysHistoryImageryByItsDateAndTellsTheFetcher)
{
    KxTSDParamItem item;
    item.LoadFromParam("http://h", "", 8, 0, 0, 0, 256, "", 1, KxTime(2019, 3, 7));
    EXPECT_EQ(item.m_strHashKey, KxUtility::GetValidHashKey("http://h_2019_3_7"));
    ASSERT_NE(item.m_pGeFetcher, nullptr);
    EXPECT_EQ(item.m_pGeFetcher->GetHistroyDataUsed(), 1);
    EXPECT_EQ(item.m_pGeFetcher->GetDataTime().GetYear(), 2019);
    EXPECT_EQ(item.m_pGeFetcher->GetDataTime().GetMonth(), 3);
    EXPECT_EQ(item.m_pGeFetcher->GetDataTime().GetDay(), 7);
}

TEST(LoadFromParam, MakesNoFetcherForOtherSchemesButKeepsTheDate)
{
    KxTSDParamItem item;
    item.LoadFromParam("http://h", "", 10, 0, 0, 0, 256, "", 1, KxTime(2019, 3, 7));
    EXPECT_EQ(item.m_strHashKey, KxUtility::GetValidHashKey("http://h_2019_3_7"));
    EXPECT_EQ(item.m_pGeFetcher, nullptr);
    EXPECT_EQ(item.m_bHistoryDataUsed, 1);
    EXPECT_EQ(item.m_historyTime.GetDay(), 7);
}

TEST(LoadFromParam, CopiesTheDateWithoutHistoryToo)
{
    KxTSDParamItem item;
    item.LoadFromParam("http://h", "", 8, 0, 0, 0, 256, "", 0, KxTime(2019, 3, 7));
    EXPECT_EQ(item.m_historyTime.GetMonth(), 3);
    EXPECT_EQ(item.m_strHashKey, KxUtility::GetValidHashKey("http://h"));
    ASSERT_NE(item.m_pGeFetcher, nullptr);
    EXPECT_EQ(item.m_pGeFetcher->GetHistroyDataUsed(), 0);
    EXPECT_EQ(item.m_pGeFetcher->GetDataTime().GetYear(), 0);
}

} // namespace
} // namespace KxC
