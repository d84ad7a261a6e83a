// SPDX-License-Identifier: MIT
#include "DefinitionOnDisk.h"

#include <gmock/gmock.h>

namespace KxC {
namespace {

using test::AllMessages;
using test::LoadedDefinition;
using test::LoadText;
using test::ScratchFolder;
using ::testing::HasSubstr;
using testing::Not;

/// What the library makes of a template: "%s" and "%d" take the arguments in turn, "%%" is one
/// percent sign, everything else stands for itself.
std::string Fill(const std::string& url, const std::vector<std::string>& arguments)
{
    std::string result;
    std::size_t next = 0;
    for (std::size_t i = 0; i < url.size(); ++i) {
        const std::string two = url.substr(i, 2);
        if ((two == "%s" || two == "%d") && next < arguments.size())
            result += arguments[next++];
        else if (two == "%%")
            result += '%';
        else {
            result += url[i];
            continue;
        }
        ++i;
    }
    return result;
}

struct UrlCase
{
    const char* url;
    const char* expected;
    const char* axisOrder;
};

class GoodUrls : public ::testing::TestWithParam<UrlCase>
{
};

TEST_P(GoodUrls, BecomeTemplatesWithoutAWarning)
{
    const LoadedDefinition loaded =
        LoadText("servers = 's'\nscheme = 10\nurl = '" + std::string(GetParam().url) + "'");
    ASSERT_EQ(loaded.result, 1) << AllMessages();
    EXPECT_STREQ(loaded.url.Cstr(), GetParam().expected);
    EXPECT_STREQ(loaded.axisOrder.Cstr(), GetParam().axisOrder);
    EXPECT_EQ(AllMessages(), "");
}

INSTANTIATE_TEST_SUITE_P(
    LoadNewTSD,
    GoodUrls,
    ::testing::Values(
        UrlCase{"http://{$serverpart}/{$z}/{$x}/{$y}", "http://{$serverpart}/%d/%d/%d", "Z,X,Y"},
        UrlCase{"http://{$Serverpart}/{$x}/{$y}/{$z}", "http://{$Serverpart}/%d/%d/%d", "X,Y,Z"},
        UrlCase{"http://{$serverpart}{$z}{$y}{$x}", "http://{$serverpart}%d%d%d", "Z,Y,X"},
        UrlCase{"http://{$serverpart}{$x}{$z}{$y}", "http://{$serverpart}%d%d%d", "X,Z,Y"},
        UrlCase{"http://{$serverpart}{$y}{$x}{$z}", "http://{$serverpart}%d%d%d", "Y,X,Z"},
        UrlCase{"http://{$serverpart}{$y}{$z}{$x}", "http://{$serverpart}%d%d%d", "Y,Z,X"},
        UrlCase{"http://{$serverpart}/%d/%d/%d?a=%20", "http://{$serverpart}/%d/%d/%d?a=%20", "?"},
        UrlCase{"http://{$serverpart}/{$z}/{$x}/{$y}?s=%20%2F",
                "http://{$serverpart}/%d/%d/%d?s=%20%2F",
                "Z,X,Y"}));

TEST(LoadNewTSD, LetsAUrlsOwnPercentSignsThrough)
{
    for (const std::string own : {"%d", "%s", "%%", "%%d", "%%%", "%20", "%", "%da%s%%%2F%"}) {
        const LoadedDefinition loaded =
            LoadText("url = 'http://a/" + own + "{$z}" + own + "/{$x}/{$y}" + own + "'");
        EXPECT_EQ(Fill(loaded.url.Cstr(), {"7", "8", "9"}),
                  "http://a/" + own + "7" + own + "/8/9" + own)
            << own << " gave " << loaded.url.Cstr();
    }
}

TEST(LoadNewTSD, LetsAPercentSignBeforeTheServerPartThrough)
{
    const LoadedDefinition loaded =
        LoadText("servers = 's'\nurl = 'http://%{$serverpart}/{$z}/{$x}/{$y}'");
    std::string url = loaded.url.Cstr();
    url.replace(url.find("{$serverpart}"), 13, "%s");
    EXPECT_EQ(Fill(url, {"srv", "7", "8", "9"}), "http://%srv/7/8/9");
}

TEST(LoadNewTSD, TurnsAQuadkeyIntoAText)
{
    const LoadedDefinition loaded = LoadText("scheme = 'BingMap'\nservers = 't0'\n"
                                             "url = 'http://{$serverpart}/a{$quadkey}.jpeg?g=%d'");
    EXPECT_STREQ(loaded.url.Cstr(), "http://{$serverpart}/a%s.jpeg?g=%%d");
    EXPECT_STREQ(loaded.axisOrder.Cstr(), "?");
    EXPECT_EQ(AllMessages(), "");
}

TEST(LoadNewTSD, TakesTheAxisOrderOfTheFileForBareConversions)
{
    const LoadedDefinition loaded = LoadText("url = 'http://a/%d/%d/%d'\naxis_order = 'x,Y,Z'");
    EXPECT_STREQ(loaded.url.Cstr(), "http://a/%d/%d/%d");
    EXPECT_STREQ(loaded.axisOrder.Cstr(), "x,Y,Z");
    EXPECT_EQ(AllMessages(), "");
}

TEST(LoadNewTSD, NeverQuotesWhatAVariableHolds)
{
    ::setenv("KXTILE_TEST_ODD_KEY", "{$hunter2}{z}", 1);
    const LoadedDefinition loaded =
        LoadText("scheme = 10\n"
                 "url = 'http://a/{$z}/{$x}/{$y}?k=${KXTILE_TEST_ODD_KEY}&d={$date}'");
    EXPECT_EQ(loaded.result, 1);
    EXPECT_THAT(AllMessages(), HasSubstr("{$date} is not known"));
    EXPECT_THAT(AllMessages(), Not(HasSubstr("hunter2")));
    EXPECT_THAT(AllMessages(), Not(HasSubstr("{z}")));
}

TEST(LoadNewTSD, WarnsOfBlanksInTheAxisOrderAndKeepsThem)
{
    const LoadedDefinition loaded = LoadText("url = 'http://a/%d/%d/%d'\naxis_order = 'X, Y, Z'");
    EXPECT_STREQ(loaded.axisOrder.Cstr(), "X, Y, Z");
    EXPECT_THAT(AllMessages(), HasSubstr("without blanks"));
}

TEST(LoadNewTSD, FillsVariablesIntoAScriptOfTheDefinition)
{
    ::setenv("KXTILE_TEST_SCRIPT_KEY", "k-1", 1);
    const LoadedDefinition loaded =
        LoadText(std::string("script = \"\"\"") +
                 "\nreturn '${KXTILE_TEST_SCRIPT_KEY}' .. '$${x}'" + "\"\"\"");
    EXPECT_STREQ(loaded.script.Cstr(), "return 'k-1' .. '${x}'");
}

TEST(LoadNewTSD, WarnsOfAnAxisOrderThatIsNone)
{
    const LoadedDefinition loaded = LoadText("url = 'http://a/%d/%d/%d'\naxis_order = 'X,Y'");
    EXPECT_EQ(loaded.result, 1);
    EXPECT_STREQ(loaded.axisOrder.Cstr(), "X,Y");
    EXPECT_THAT(AllMessages(), HasSubstr("warning 2 axis_order: is no order"));
}

TEST(LoadNewTSD, PrefersPlaceholdersToTheAxisOrderOfTheFile)
{
    const LoadedDefinition loaded =
        LoadText("url = 'http://a/{$y}/{$x}/{$z}'\naxis_order = 'X,Y,Z'");
    EXPECT_STREQ(loaded.axisOrder.Cstr(), "Y,X,Z");
    EXPECT_THAT(AllMessages(), HasSubstr("warning 2 axis_order: is passed over"));
}

TEST(LoadNewTSD, SortsAbsentPlaceholdersFirstAndWarns)
{
    EXPECT_STREQ(LoadText("url = 'http://a/{$x}/{$y}'").axisOrder.Cstr(), "Z,X,Y");
    EXPECT_THAT(AllMessages(), HasSubstr("warning 1 url: holds some of"));
    EXPECT_STREQ(LoadText("url = 'http://a/{$z}'").axisOrder.Cstr(), "X,Y,Z");
    EXPECT_STREQ(LoadText("url = 'http://a/{$y}/{$z}'").axisOrder.Cstr(), "X,Y,Z");
}

struct UrlMessage
{
    const char* toml;
    const char* message;
};

class DoubtfulUrls : public ::testing::TestWithParam<UrlMessage>
{
};

TEST_P(DoubtfulUrls, LoadWithAWarning)
{
    EXPECT_EQ(LoadText(GetParam().toml).result, 1);
    EXPECT_THAT(AllMessages(), HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    LoadNewTSD,
    DoubtfulUrls,
    ::testing::Values(
        UrlMessage{"url = 'http://a/{z}/{x}/{y}'", "scheme: is missing, so the grid is latitude"},
        UrlMessage{"url = 'http://a/{z}/{x}/{y}/{x}'", "1 scheme: is missing, so the grid is"},
        UrlMessage{"scheme = 'WebMercator'", "did you mean \"WebMercatorWGS84\"?"},
        UrlMessage{"url = 'http://a/{$z}/{$x}/{$y}?{a,b}'", "holds braces around what is no"},
        UrlMessage{"url = 'http://a/{$z}/{$x}/{$y}?{date:yyyy}'", "write %7B and %7D"},
        UrlMessage{"url = 'a.test/{$z}/{$x}/{$y}'", "write https:// before it"},
        UrlMessage{"servers = 'a'\nurl = '{$serverpart}/{$z}/{$x}/{$y}'", "write https://"},
        UrlMessage{"url = 'http://a/b c/{$z}/{$x}/{$y}'", "write %20 in its place"},
        UrlMessage{"url = 'http://a/b c/{$z}/{$z}/{$x}/{$y}'", "write %20 in its place"},
        UrlMessage{"url = 'http://a/{$z}/{$x}/{$y}.PBF?k=1'", "asks for drawings"},
        UrlMessage{"url = 'http://a/{$z}/{$x}/{$y}.mvt'", "asks for drawings"},
        UrlMessage{"url = 'http://a/{z}/{X}/{y}'", "{X} is no placeholder here; write {x}"},
        UrlMessage{"url = 'http://a/{$z}/{$X}/{$y}'", "{$X} is no placeholder here; write {$x}"},
        UrlMessage{"rows = '1'\nurl = 'http://a/{$z}/{$x}/{-y}'", "1 rows: says what {-y} in"},
        UrlMessage{"rows = 'NorthToSouth'\nurl = 'http://a/{$z}/{$x}/{-y}'",
                   "1 rows: is passed over; {-y}"},
        UrlMessage{"url = 'http://{s}.a/{$z}/{$x}/{$y}'", "the key servers names no server"},
        UrlMessage{"servers = 'c'\nurl = 'http://{a-b}.a/{$z}/{$x}/{$y}'",
                   "servers: is not used; the url names its servers itself"},
        UrlMessage{"url = 'http://a/{$z}/{$x}/{$y}{r}'", "{r} is left empty"},
        UrlMessage{"url = 'http://a/{$z}/{$x}/{$y}?{apikey}'", "{apikey} is not known"},
        UrlMessage{"url = 'http://a/{bbox-epsg-3857}'", "asked by extent"},
        UrlMessage{"url = 'http://a/'", "names no tile"},
        UrlMessage{"url = 'http://a/%d/%d'", "holds 2 conversions"},
        UrlMessage{"url = 'ftp://a/{$z}/{$x}/{$y}'", "only addresses that begin with http"},
        UrlMessage{"scheme = 10\nurl = 'http://webst01.is.autonavi.com/{$z}/{$x}/{$y}'",
                   "2 datum: is WGS84, but pictures of autonavi.com lie some hundred metres off; "
                   "say datum = \"GCJ02\""},
        UrlMessage{"scheme = 10\nurl = 'http://mt1.google.com/?gl=cn&z={$z}&x={$x}&y={$y}'",
                   "say datum = \"GCJ02\""},
        UrlMessage{"scheme = 4\nrows = '1'\nurl = 'http://o.map.bdimg.com/{$z}/{$x}/{$y}'",
                   "datum: does not go with Baidu's grid"},
        UrlMessage{"scheme = 4\ndatum = 'BD09'", "rows: does not go with Baidu's grid"},
        UrlMessage{"datum = 'GCJ02'", "datum: has no effect in grids of latitude"},
        UrlMessage{"scheme = 5\nrows = '1'", "2 rows: has no effect; this scheme"},
        UrlMessage{"scheme = 6\nlevel_offset = 1", "2 level_offset: has no effect on quadkeys"},
        UrlMessage{"[bounds]\nmin_level = 5\nmax_level = 4", "2 bounds.min_level: is above"},
        UrlMessage{"[bounds]\nmax_level = 31", "2 bounds.max_level: is no level"},
        UrlMessage{"[bounds]\nsouth = 5\nnorth = -5", "2 bounds.south: is not south of"},
        UrlMessage{"servers = 'a'\n"
                   "url = 'http://{$serverpart}/{$Serverpart}/{$z}/{$x}/{$y}'",
                   "{$Serverpart} stays as it is beside {$serverpart}"},
        UrlMessage{"url = 'http://a/{$z}/{$x}/{$y}/{$date}'", "{$date} is not known"},
        UrlMessage{"url = 'http://a/{$quadkey}'", "which only scheme = \"BingMap\" fills in"},
        UrlMessage{"scheme = 'BingMap'\nurl = 'http://a/{$z}/{$x}/{$y}'", "fills in quadkeys"},
        UrlMessage{"url = 'http://{$serverpart}/{$z}/{$x}/{$y}'", "names no server"},
        UrlMessage{"servers = 'a'\nurl = 'http://a/{$z}/{$x}/{$y}'", "holds no {$serverpart}"},
        UrlMessage{"rows = 'south'", "rows: is no direction"},
        UrlMessage{"rows = 'SouthToNort'", "did you mean \"SouthToNorth\"?"},
        UrlMessage{"datum = 'GJC02'", "did you mean \"GCJ02\"?"},
        UrlMessage{"tile_size = 0", "sizes run from 1 to 8192"},
        UrlMessage{"[bounds]\nnorth = 91", "is no latitude"}));

class ImpossibleUrls : public ::testing::TestWithParam<UrlMessage>
{
};

TEST_P(ImpossibleUrls, FailAndSayWhy)
{
    const LoadedDefinition loaded = LoadText(GetParam().toml);
    EXPECT_EQ(loaded.result, 0);
    EXPECT_STREQ(loaded.url.Cstr(), "?");
    EXPECT_THAT(AllMessages(), HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    LoadNewTSD,
    ImpossibleUrls,
    ::testing::Values(
        UrlMessage{"url = 'http://a/{$z}/{$x}/{$y}?s={$serverpart}'", "no server is named"},
        UrlMessage{"url = 'http://a/%d/%d/%d?s={$serverpart}'", "the server part has to"},
        UrlMessage{"url = 'http://a/{$quadkey}?s={$serverpart}'", "no server is named"},
        UrlMessage{"url = 'http://{a-b}.{c-d}/%d/%d/%d'", "names the server twice"},
        UrlMessage{"scheme = 4\nurl = 'http://a/{$z}/{$x}/{$x}/{$y}'", "needs a script, and none"},
        UrlMessage{"url = 'http://{switch:a,}/{$z}/{$x}/{$y}'", "a choice that is empty"},
        UrlMessage{"url = 'http://{0-64}/{$z}/{$x}/{$y}'", "more than 64 servers"},
        UrlMessage{"url = 'http://a/{$z}/{$x}/{$y}.lua'", "put a ? behind it"},
        UrlMessage{"url = 'https://a/b.lua'", "put a ? behind it"},
        UrlMessage{"url = 'missing.lua'", "names a script file that cannot be read"},
        UrlMessage{"script = 'missing.lua'", "names a script file that cannot be read"},
        UrlMessage{"url = 'http://a/'\nscript = 'missing.lua'", "cannot be read"},
        UrlMessage{"url = 'a.lua'\nscript = 'return'", "keep one of them"}));

TEST(LoadNewTSD, HandsBackAScriptFileByItsAbsolutePath)
{
    const ScratchFolder folder;
    const std::string script = folder.Write("in/tile.lua", "-- text");
    LoadedDefinition byUrl;
    byUrl.Load(folder.Write("in/a.toml", "url = 'tile.lua'"));
    EXPECT_EQ(byUrl.url.Cstr(), script);
    EXPECT_STREQ(byUrl.script.Cstr(), "?");
    LoadedDefinition byScript;
    byScript.Load(folder.Write("b.toml", "script = 'in/../in/tile.lua'"));
    EXPECT_EQ(byScript.url.Cstr(), script);
    EXPECT_STREQ(byScript.script.Cstr(), "?");
    EXPECT_EQ(AllMessages(), "");
}

TEST(LoadNewTSD, HandsBackAScriptFilesTextBesideAUrl)
{
    const ScratchFolder folder;
    folder.Write("tile.lua", "-- the text");
    LoadedDefinition loaded;
    loaded.Load(folder.Write("a.toml", "url = 'http://a/{$z}/{$x}/{$y}'\nscript = 'tile.lua'"));
    EXPECT_STREQ(loaded.url.Cstr(), "http://a/%d/%d/%d");
    EXPECT_STREQ(loaded.script.Cstr(), "-- the text");
}

TEST(LoadNewTSD, GivesAnInlineScriptATemplateOfItsOwn)
{
    const LoadedDefinition one = LoadText("script = '''\n-- one\n'''");
    const LoadedDefinition two = LoadText("script = '''\n-- two\n'''");
    EXPECT_STREQ(one.script.Cstr(), "-- one\n");
    EXPECT_THAT(one.url.Cstr(), ::testing::MatchesRegex("lua:[0-9a-f]+"));
    EXPECT_EQ(one.url.GetLength(), 4 + 32);
    EXPECT_STRNE(one.url.Cstr(), two.url.Cstr());
}

} // namespace
} // namespace KxC
