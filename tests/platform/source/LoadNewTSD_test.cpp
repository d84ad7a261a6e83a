// SPDX-License-Identifier: MIT
#include "DefinitionOnDisk.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <thread>

namespace KxC {
namespace {

using test::AllMessages;
using test::LoadedDefinition;
using test::LoadText;
using test::ScratchFolder;
using ::testing::HasSubstr;
using ::testing::Not;

void ExpectUntouched(const LoadedDefinition& loaded)
{
    const LoadedDefinition fresh;
    EXPECT_EQ(loaded.bounds.m_rect.m_dLeft, fresh.bounds.m_rect.m_dLeft);
    EXPECT_EQ(loaded.bounds.m_rect.m_dTop, fresh.bounds.m_rect.m_dTop);
    EXPECT_EQ(loaded.bounds.m_nMaxLevel, fresh.bounds.m_nMaxLevel);
    EXPECT_EQ(loaded.tileSize, fresh.tileSize);
    EXPECT_EQ(loaded.levelOffset, fresh.levelOffset);
    EXPECT_EQ(loaded.option1, fresh.option1);
    for (const KxString* text : {&loaded.url,
                                 &loaded.scheme,
                                 &loaded.datum,
                                 &loaded.axisOrder,
                                 &loaded.servers,
                                 &loaded.script,
                                 &loaded.attr5})
        EXPECT_STREQ(text->Cstr(), "?");
    EXPECT_EQ(loaded.headers.GetSize(), 0);
}

TEST(LoadNewTSD, HandsBackEveryValue)
{
    LoadedDefinition loaded = LoadText(R"(
url = "https://{$serverpart}.tiles.test/{$z}/{$x}/{$y}.png"
servers = "a,b c"
scheme = "WebMercatorWGS84"
datum = "GCJ02"
rows = "SouthToNorth"
tile_size = 512
level_offset = -1
format = "image/png"
version = 904
user_agent = "Survey/1.0"
headers = ["Referer: https://maps.test/", "X-Two: 2"]
attr1 = "one"
attr2 = "two"
attr3 = "three"
attr4 = "four"
attr5 = "five"
option1 = true
option2 = false
option3 = false
value1 = 11
value2 = 12
value3 = -2147483648
[bounds]
west = 73
south = 3.5
east = 135.25
north = 53.5
min_level = 2
max_level = 18
)");
    ASSERT_EQ(loaded.result, 1) << AllMessages();
    EXPECT_EQ(AllMessages(), "");
    EXPECT_STREQ(loaded.url.Cstr(), "https://{$serverpart}.tiles.test/%d/%d/%d.png");
    EXPECT_STREQ(loaded.axisOrder.Cstr(), "Z,X,Y");
    EXPECT_STREQ(loaded.servers.Cstr(), "a,b c");
    EXPECT_STREQ(loaded.scheme.Cstr(), "WebMercatorWGS84");
    EXPECT_STREQ(loaded.datum.Cstr(), "GCJ02");
    EXPECT_STREQ(loaded.rows.Cstr(), "SouthToNorth");
    EXPECT_EQ(loaded.tileSize, 512);
    EXPECT_EQ(loaded.levelOffset, -1);
    EXPECT_STREQ(loaded.format.Cstr(), "image/png");
    EXPECT_STREQ(loaded.version.Cstr(), "904");
    EXPECT_STREQ(loaded.userAgent.Cstr(), "Survey/1.0");
    ASSERT_EQ(loaded.headers.GetSize(), 2);
    EXPECT_STREQ(loaded.headers[0].Cstr(), "Referer: https://maps.test/");
    EXPECT_STREQ(loaded.headers[1].Cstr(), "X-Two: 2");
    EXPECT_STREQ(loaded.attr1.Cstr(), "one");
    EXPECT_STREQ(loaded.attr2.Cstr(), "two");
    EXPECT_STREQ(loaded.attr3.Cstr(), "three");
    EXPECT_STREQ(loaded.attr4.Cstr(), "four");
    EXPECT_STREQ(loaded.attr5.Cstr(), "five");
    EXPECT_EQ(loaded.option1, 1);
    EXPECT_EQ(loaded.option2, 0);
    EXPECT_EQ(loaded.option3, 0);
    EXPECT_EQ(loaded.value1, 11);
    EXPECT_EQ(loaded.value2, 12);
    EXPECT_EQ(loaded.value3, -2147483647 - 1);
    EXPECT_EQ(loaded.bounds.m_rect.m_dLeft, 73.0);
    EXPECT_EQ(loaded.bounds.m_rect.m_dBottom, 3.5);
    EXPECT_EQ(loaded.bounds.m_rect.m_dRight, 135.25);
    EXPECT_EQ(loaded.bounds.m_rect.m_dTop, 53.5);
    EXPECT_EQ(loaded.bounds.m_nMinLevel, 2);
    EXPECT_EQ(loaded.bounds.m_nMaxLevel, 18);
    EXPECT_STREQ(loaded.script.Cstr(), "?");
}

TEST(LoadNewTSD, TakesDescriptionsByTheirNames)
{
    const LoadedDefinition loaded = LoadText("name = 'A'\nattribution = 'B'\nterms = 'C'\n"
                                             "notes = 'D'\nenabled = false\n"
                                             "url = 'http://a/{$z}/{$x}/{$y}'");
    EXPECT_EQ(AllMessages(), "");
    EXPECT_STREQ(loaded.attr1.Cstr(), "A");
    EXPECT_STREQ(loaded.attr2.Cstr(), "B");
    EXPECT_STREQ(loaded.attr3.Cstr(), "C");
    EXPECT_STREQ(loaded.attr4.Cstr(), "D");
    EXPECT_EQ(loaded.option3, 0);
    EXPECT_EQ(LoadText("name = 'A'\nattr1 = 'A'").result, 0);
    EXPECT_THAT(AllMessages(), HasSubstr("error 2 attr1: says the same as name"));
    EXPECT_EQ(LoadText("option3 = true\nenabled = true").result, 0);
}

TEST(LoadNewTSD, LeavesWhatTheFileDoesNotSay)
{
    const LoadedDefinition loaded = LoadText("tile_size = 512\n");
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.tileSize, 512);
    EXPECT_STREQ(loaded.url.Cstr(), "?");
    EXPECT_EQ(loaded.value1, -8);
    EXPECT_EQ(loaded.option3, 7);
    EXPECT_EQ(loaded.bounds.m_rect.m_dLeft, -1.0);
    EXPECT_THAT(AllMessages(), HasSubstr("warning 0 url: is missing"));
}

TEST(LoadNewTSD, TakesPartsOfTheBounds)
{
    const LoadedDefinition loaded = LoadText("[bounds]\nmax_level = 9\n");
    EXPECT_EQ(loaded.bounds.m_nMaxLevel, 9);
    EXPECT_EQ(loaded.bounds.m_nMinLevel, -5);
    EXPECT_EQ(loaded.bounds.m_rect.m_dTop, -2.0);
}

TEST(LoadNewTSD, AppendsToTheHeadersThatAreThere)
{
    const ScratchFolder folder;
    LoadedDefinition loaded;
    loaded.headers.Add("First: 1");
    loaded.Load(folder.Write("a.toml", "[headers]\nReferer = 'https://a.test/'\nCookie = 'k=v'"));
    ASSERT_EQ(loaded.headers.GetSize(), 3);
    EXPECT_STREQ(loaded.headers[0].Cstr(), "First: 1");
    EXPECT_STREQ(loaded.headers[1].Cstr(), "Cookie: k=v");
    EXPECT_STREQ(loaded.headers[2].Cstr(), "Referer: https://a.test/");
}

TEST(LoadNewTSD, JoinsAListOfServers)
{
    const LoadedDefinition loaded = LoadText("url = 'http://{$serverpart}/%d/%d/%d'\n"
                                             "servers = ['t0', 't1', 't2']\n");
    EXPECT_EQ(loaded.result, 1);
    EXPECT_STREQ(loaded.servers.Cstr(), "t0 t1 t2");
    EXPECT_EQ(AllMessages(), "");
}

TEST(LoadNewTSD, TakesASchemeAsNumberOrText)
{
    EXPECT_STREQ(LoadText("scheme = 13").scheme.Cstr(), "13");
    EXPECT_STREQ(LoadText("scheme = '12'").scheme.Cstr(), "12");
    EXPECT_STREQ(LoadText("scheme = 'webmercatorwgs84'").scheme.Cstr(), "webmercatorwgs84");
    EXPECT_THAT(AllMessages(), Not(HasSubstr("scheme")));
    EXPECT_STREQ(LoadText("scheme = 'WebMercator'").scheme.Cstr(), "WebMercator");
    EXPECT_THAT(AllMessages(), HasSubstr("warning 1 scheme: is no scheme and counts as 0"));
}

TEST(LoadNewTSD, ToleratesAByteOrderMarkAndCarriageReturns)
{
    const LoadedDefinition loaded = LoadText("\xEF\xBB\xBFtile_size = 512\r\nlevel_offset = 1\r\n");
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.tileSize, 512);
    EXPECT_EQ(loaded.levelOffset, 1);
}

TEST(LoadNewTSD, ReadsAPathWithChineseCharacters)
{
    const ScratchFolder folder;
    LoadedDefinition loaded;
    loaded.Load(folder.Write("影像/天地图.toml", "tile_size = 512"));
    EXPECT_EQ(loaded.tileSize, 512);
}

struct BadDefinition
{
    const char* toml;
    const char* message;
};

class BadDefinitions : public ::testing::TestWithParam<BadDefinition>
{
};

TEST_P(BadDefinitions, FailWithNothingWrittenAndTheReason)
{
    // The good keys around the bad one must not come through either.
    const LoadedDefinition loaded = LoadText(GetParam().toml);
    EXPECT_EQ(loaded.result, 0);
    ExpectUntouched(loaded);
    EXPECT_THAT(AllMessages(), HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    LoadNewTSD,
    BadDefinitions,
    ::testing::Values(
        BadDefinition{"tile_size = 1\nurl = \"x", "error 2 : is not TOML"},
        BadDefinition{"tile_size = 1\nurl = 'a'\nurl = 'b'", "error 3 : is not TOML"},
        BadDefinition{"attr1 = '\xFF\xFE'", "error 1 : is not TOML"},
        BadDefinition{"datum = 'x'\ntile_size = '512'", "error 2 tile_size: is a text; it has to"},
        BadDefinition{"tile_size = 256.0", "error 1 tile_size: is a number with a fraction"},
        BadDefinition{"tile_size = 1\nvalue1 = 2147483648", "error 2 value1: is outside 32 bits"},
        BadDefinition{"scheme = 9999999999", "error 1 scheme: is outside 32 bits"},
        BadDefinition{"attr1 = 5", "error 1 attr1: is an integer; it has to be a text in quotes"},
        BadDefinition{"option1 = 1", "error 1 option1: is an integer; it has to be true or false"},
        BadDefinition{"datum = 1979-05-27", "error 1 datum: is a date or a time"},
        BadDefinition{"bounds = 1", "error 1 bounds: is an integer; it has to be a table"},
        BadDefinition{"[bounds]\nwest = '1'", "error 2 bounds.west: is a text"},
        BadDefinition{"[bounds]\nwest = inf", "error 2 bounds.west: is infinite"},
        BadDefinition{"[bounds]\nmax_level = 1.5", "error 2 bounds.max_level: is a number with"},
        BadDefinition{"servers = [1]", "error 1 servers: is an integer"},
        BadDefinition{"servers = ['a b']", "error 1 servers: has an entry that is empty or"},
        BadDefinition{"headers = 'A: b'", "error 1 headers: is a text; it has to be a list"},
        BadDefinition{"headers = ['no colon']", "error 1 headers: has an entry that is no header"},
        BadDefinition{"headers = [\"A: b\\r\\nHost: c\"]", "error 1 headers: has an entry"},
        BadDefinition{"[headers]\n'A B' = 'c'", "error 2 headers: has A B where"},
        BadDefinition{"[headers]\nA = \"b\\nc: d\"", "error 2 headers: has an entry"},
        BadDefinition{"user_agent = \"a\\r\\nb\"", "error 1 user_agent: holds a line break"},
        BadDefinition{"url = \"http://a\\u0000b\"", "error 1 url: holds a NUL"},
        BadDefinition{"attr1 = \"a\\u0000b\"", "error 1 attr1: holds a NUL"},
        BadDefinition{"user_agent = '${KXTILE_TEST_NOT_SET}'",
                      "error 1 user_agent: needs the environment variable KXTILE_TEST_NOT_SET"},
        BadDefinition{"url = 'http://a/${'", "error 1 url: holds \"${\" without"},
        BadDefinition{"url = 'http://a/${A-B}'", "error 1 url: holds \"${\" without"}));

TEST(LoadNewTSD, RefusesWhatIsNoSmallRegularFile)
{
    const ScratchFolder folder;
    const std::string pipe = folder.Path() + "/pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string large =
        folder.Write("large.toml", std::string((std::size_t{1} << 20) + 1, '#'));
    for (const std::string& path :
         {folder.Path() + "/missing.toml", folder.Path(), pipe, std::string("/dev/zero"), large}) {
        LoadedDefinition loaded;
        loaded.Load(path);
        EXPECT_EQ(loaded.result, 0) << path;
        ExpectUntouched(loaded);
        EXPECT_THAT(AllMessages(), HasSubstr("error 0 : the definition cannot be read")) << path;
    }
}

TEST(LoadNewTSD, ReadsAFileOfExactlyOneMebibyte)
{
    std::string toml = "tile_size = 512\n";
    toml.append((std::size_t{1} << 20) - toml.size(), '#');
    EXPECT_EQ(LoadText(toml).tileSize, 512);
}

TEST(LoadNewTSD, RefusesDeepNesting)
{
    std::string dotted = "a";
    for (int i = 0; i < 200000; ++i)
        dotted += ".a";
    EXPECT_EQ(LoadText("x = 1\n" + dotted + " = 1").result, 0);
    EXPECT_THAT(AllMessages(), HasSubstr("error 2 : holds a key with more than 8 dots"));
    EXPECT_EQ(LoadText("[" + dotted + "]").result, 0);
    // Quotes that end a multi-line text must not hide what follows.
    EXPECT_EQ(LoadText("t = {a = \"\"\"x\"\"\"\", b." + dotted + " = 1}").result, 0);
    EXPECT_THAT(AllMessages(), HasSubstr("more than 8 dots"));
    EXPECT_EQ(LoadText("x = " + std::string(200000, '[')).result, 0);
    EXPECT_EQ(LoadText("attr1 = 'many.dots.in.a.text.do.no.harm.at.all.here'").result, 1);
}

TEST(LoadNewTSD, WarnsOfUnknownKeysAndNamesTheNearest)
{
    const LoadedDefinition loaded =
        LoadText("URL = 'a'\ntilesize = 5\nnonsense = 1\n[bounds]\nwset = 1\n");
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.tileSize, -7);
    EXPECT_THAT(AllMessages(),
                HasSubstr("warning 1 URL: is not a key of a definition; did you "
                          "mean 'url'?"));
    EXPECT_THAT(AllMessages(),
                HasSubstr("warning 2 tilesize: is not a key of a definition; did "
                          "you mean 'tile_size'?"));
    EXPECT_THAT(AllMessages(),
                HasSubstr("warning 3 nonsense: is not a key of a definition; it is "
                          "passed over"));
    EXPECT_THAT(AllMessages(),
                HasSubstr("warning 5 bounds.wset: is not a key of a definition; "
                          "did you mean 'bounds.west'?"));
}

TEST(LoadNewTSD, KeepsFewOfManyMessagesButAnErrorAmongThem)
{
    std::string toml;
    for (int i = 0; i < 5000; ++i)
        toml += "key" + std::to_string(i) + " = 1\n";
    EXPECT_EQ(LoadText(toml + "tile_size = 'x'").result, 0);
    EXPECT_EQ(KxUtility::GetLastTSDMessages().size(), 64U);
    EXPECT_THAT(AllMessages(), HasSubstr("error 5001 tile_size"));
}

TEST(LoadNewTSD, FillsInEnvironmentVariablesAndKeepsTheirValuesToItself)
{
    ::setenv("KXTILE_TEST_KEY", "s3cret", 1);
    LoadedDefinition loaded = LoadText(R"(
url = "https://a.test/${KXTILE_TEST_KEY}/{$z}/{$x}/{$y}?plain=$${KXTILE_TEST_KEY}"
user_agent = "ua ${KXTILE_TEST_KEY}"
version = "v${KXTILE_TEST_KEY}"
servers = ["${KXTILE_TEST_KEY}"]
headers = ["Authorization: Bearer ${KXTILE_TEST_KEY}"]
attr1 = "${KXTILE_TEST_KEY}"
)");
    EXPECT_STREQ(loaded.url.Cstr(), "https://a.test/s3cret/%d/%d/%d?plain=${KXTILE_TEST_KEY}");
    EXPECT_STREQ(loaded.userAgent.Cstr(), "ua s3cret");
    EXPECT_STREQ(loaded.version.Cstr(), "vs3cret");
    EXPECT_STREQ(loaded.servers.Cstr(), "s3cret");
    EXPECT_STREQ(loaded.headers[0].Cstr(), "Authorization: Bearer s3cret");
    EXPECT_STREQ(loaded.attr1.Cstr(), "${KXTILE_TEST_KEY}");
    EXPECT_THAT(AllMessages(), Not(HasSubstr("s3cret")));

    ::setenv("KXTILE_TEST_KEY", "s3cret\r\nHost: b", 1);
    EXPECT_EQ(LoadText("headers = ['A: ${KXTILE_TEST_KEY}']").result, 0);
    EXPECT_THAT(AllMessages(), Not(HasSubstr("s3cret")));
    EXPECT_EQ(LoadText("url = 'http://a/${KXTILE_TEST_KEY}'").result, 0);
    EXPECT_THAT(AllMessages(), Not(HasSubstr("s3cret")));
    EXPECT_EQ(LoadText("servers = ['${KXTILE_TEST_KEY}']").result, 0);
    EXPECT_THAT(AllMessages(), Not(HasSubstr("s3cret")));
    ::unsetenv("KXTILE_TEST_KEY");
}

TEST(LoadNewTSD, BoundsWhatEnvironmentVariablesAddUpTo)
{
    ::setenv("KXTILE_TEST_LONG", std::string(100000, 'x').c_str(), 1);
    std::string url = "url = '";
    for (int i = 0; i < 11; ++i)
        url += "${KXTILE_TEST_LONG}";
    EXPECT_EQ(LoadText(url + "'").result, 0);
    EXPECT_THAT(AllMessages(), HasSubstr("longer than 1 MiB"));
    ::unsetenv("KXTILE_TEST_LONG");
}

TEST(LoadNewTSD, KeepsEachThreadsMessagesApart)
{
    LoadText("nonsense = 1");
    std::thread([] {
        EXPECT_EQ(AllMessages(), "");
        LoadText("tile_size = 'x'");
        EXPECT_THAT(AllMessages(), HasSubstr("tile_size"));
    }).join();
    EXPECT_THAT(AllMessages(), HasSubstr("nonsense"));
    EXPECT_THAT(AllMessages(), Not(HasSubstr("tile_size")));
}

} // namespace
} // namespace KxC
