// SPDX-License-Identifier: MIT
#include "Command.h"
#include "KxTSDParam.h"
#include "KxUtility.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace KxTileHost {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class SourceCheckCommand : public ::testing::Test
{
protected:
    std::string Write(const std::string& name, const std::string& text) const
    {
        const std::string path = (m_folder.Path() / name).string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    /// Runs 'kxtile source check'; what it prints is in `out`.
    int Run(const std::vector<std::string>& arguments)
    {
        const std::string cache = (m_folder.Path() / "cache").string();
        std::vector<const char*> line = {"kxtile", "--cache-dir", cache.c_str(), "source", "check"};
        for (const std::string& argument : arguments)
            line.push_back(argument.c_str());
        ::testing::internal::CaptureStdout();
        const int code = RunCommandLine(static_cast<int>(line.size()), line.data());
        out = ::testing::internal::GetCapturedStdout();
        return code;
    }

    KxC::TempFolder m_folder;
    std::string out;
};

constexpr char kGood[] = "scheme = 10\nurl = 'https://tiles.test/{$z}/{$x}/{$y}.png'\n";

TEST_F(SourceCheckCommand, SaysNothingOfAGoodDefinition)
{
    EXPECT_EQ(Run({"--strict", Write("a.toml", kGood)}), kExitDone);
    EXPECT_EQ(out, "");
    EXPECT_EQ(Run({"--json", Write("a.toml", kGood)}), kExitDone);
    EXPECT_EQ(out, "[]\n");
}

TEST_F(SourceCheckCommand, WritesMistakesAsCompilersDo)
{
    const std::string path = Write("a.toml", std::string(kGood) + "tilesize = 1\ntile_size = 'x'");
    EXPECT_EQ(Run({path}), kExitFailed);
    EXPECT_EQ(out,
              path +
                  ":3: warning: tilesize: is not a key of a definition; did you mean "
                  "'tile_size'?\n" +
                  path +
                  ":4: error: tile_size: is a text; it has to be an integer without "
                  "quotes, such as tile_size = 1\n");
}

TEST_F(SourceCheckCommand, MissesNoAddressOfEarthImagery)
{
    EXPECT_EQ(Run({"--strict", Write("a.toml", "scheme = 8\n")}), kExitDone) << out;
}

TEST_F(SourceCheckCommand, FailsOnWarningsOnlyWhenAsked)
{
    const std::string path = Write("a.toml", std::string(kGood) + "tilesize = 1\n");
    EXPECT_EQ(Run({path}), kExitDone);
    EXPECT_EQ(Run({"--strict", path}), kExitFailed);
}

TEST_F(SourceCheckCommand, FailsOnWhatLoadsButGivesNoRightTiles)
{
    const auto url = [](const std::string& text) { return "scheme = 10\nurl = '" + text + "'"; };
    const std::string good = "url = 'http://a.test/{$z}/{$x}/{$y}'\n";
    for (const std::string& text : {std::string(),
                                    url("http://a.test/{$z}/{$x}"),
                                    url("http://a.test/"),
                                    url("http://a.test/{$z}/{$X}/{$x}/{$y}"),
                                    url("http://a.test/%d/%d"),
                                    url("a.test/{$z}/{$x}/{$y}"),
                                    url("ftp://a.test/{$z}/{$x}/{$y}"),
                                    url("http://a.test/b c/{$z}/{$x}/{$y}"),
                                    url("http://a.test/{$z}/{$x}/{$y}.mvt"),
                                    url("http://a.test/{$quadkey}"),
                                    url("http://{$serverpart}.test/{$z}/{$x}/{$y}"),
                                    url("http://webst01.is.autonavi.com/{$z}/{$x}/{$y}"),
                                    url("http://o.map.bdimg.com/{$z}/{$x}/{$y}"),
                                    url("http://a.test/%d/%d/%d") + "\naxis_order = 'X, Y, Z'",
                                    good + "scheme = 'WebMercator'",
                                    good + "scheme = 10\ndatum = 'WGS72'"}) {
        const std::string path = Write("a.toml", text);
        EXPECT_EQ(Run({path}), kExitFailed) << text;
        EXPECT_THAT(out, HasSubstr("error: ")) << text;
        KxC::KxTSDParamItem().LoadFromTSDFile(path.c_str());
        for (const KxC::KxTSDMessage& message : KxC::KxUtility::GetLastTSDMessages())
            EXPECT_FALSE(message.m_bError) << text;
    }
}

TEST_F(SourceCheckCommand, OnlyWarnsOfVariablesThatAreNotSet)
{
    const std::string path =
        Write("a.toml",
              "url = 'http://a.test/{$z}/{$x}/{$y}?${KXTILE_UNSET_A}${KXTILE_UNSET_B}'\n"
              "scheme = 10\n");
    EXPECT_EQ(Run({path}), kExitDone);
    EXPECT_EQ(out,
              path + ":1: warning: url: needs the environment variables KXTILE_UNSET_A, "
                     "KXTILE_UNSET_B, which are not set; set them before the program starts\n");
    EXPECT_EQ(Run({"--strict", path}), kExitFailed);
}

TEST_F(SourceCheckCommand, GivesProgramsAList)
{
    const std::string one = Write("a.toml", std::string(kGood) + "tilesize = 1\n");
    const std::string two = Write("b.json", "{\n\"tiles\": [\"http://a.test/{z}/{x}\"]}");
    EXPECT_EQ(Run({"--json", one, two}), kExitFailed);
    const auto list = nlohmann::json::parse(out);
    ASSERT_EQ(list.size(), 3U) << out;
    EXPECT_EQ(list[0],
              nlohmann::json({{"file", one},
                              {"line", 3},
                              {"key", "tilesize"},
                              {"severity", "warning"},
                              {"message", "is not a key of a definition"},
                              {"hint", "did you mean 'tile_size'?"}}));
    EXPECT_EQ(list[2]["file"], two);
    EXPECT_EQ(list[2]["line"], 2);
    EXPECT_EQ(list[2]["key"], "tiles");
    EXPECT_EQ(list[2]["severity"], "error");
}

TEST_F(SourceCheckCommand, TellsOfScriptsThatDoNotLoadOrRun)
{
    EXPECT_EQ(Run({Write("a.toml", "script = 'function ('")}), kExitFailed);
    EXPECT_THAT(out, HasSubstr("a.toml: error: script: does not load: "));
    EXPECT_EQ(Run({Write("b.toml", "script = 'function GetTileURL() return nil .. 1 end'")}),
              kExitDone);
    EXPECT_THAT(out,
                HasSubstr("b.toml: warning: script: gives no address for the tile in the "
                          "south-west of level 1: "));
    Write("c.lua", "function (");
    EXPECT_EQ(Run({Write("c.toml", "url = 'c.lua'")}), kExitFailed);
    EXPECT_THAT(out, HasSubstr("c.toml: error: script: does not load: "));
}

TEST_F(SourceCheckCommand, KeepsSecretsToItself)
{
    ::setenv("KXTILE_TEST_SECRET", "hunter2 ..", 1);
    Run({Write(
        "a.toml",
        "url = 'http://a.test/?k=${KXTILE_TEST_SECRET}'\nheaders = ['${KXTILE_TEST_SECRET}']\n"
        "script = 'error(\"${KXTILE_TEST_SECRET}\")'")});
    EXPECT_THAT(out, HasSubstr("headers"));
    EXPECT_THAT(out, Not(HasSubstr("hunter2")));
    Run({Write("b.toml", "script = 'error(\"${KXTILE_TEST_SECRET}\")'")});
    EXPECT_THAT(out, HasSubstr("${KXTILE_TEST_SECRET}"));
    EXPECT_THAT(out, Not(HasSubstr("hunter2")));
    ::unsetenv("KXTILE_TEST_SECRET");
}

TEST_F(SourceCheckCommand, ChecksOneOfSeveralInAFile)
{
    const std::string path =
        Write("a.xml",
              "<qgsXYZTilesConnections>\n<xyztiles name='one' url='http://a.test/{z}/{x}/{y}'/>\n"
              "<xyztiles name='two' url='http://a.test/{z}/{x}'/></qgsXYZTilesConnections>");
    EXPECT_EQ(Run({path + "#one"}), kExitDone);
    EXPECT_EQ(out, "");
    EXPECT_EQ(Run({path + "#two"}), kExitFailed);
    EXPECT_THAT(out, HasSubstr("#two:3: error: url: lacks the column, the row or the level"));
}

TEST_F(SourceCheckCommand, FailsOnAFileThatIsNotThere)
{
    EXPECT_EQ(Run({(m_folder.Path() / "missing.toml").string()}), kExitFailed);
    EXPECT_THAT(out, HasSubstr("missing.toml: error: the definition cannot be read: "));
    EXPECT_EQ(Run({}), kExitWrongUsage);
}

} // namespace
} // namespace KxTileHost
