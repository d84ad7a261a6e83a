// SPDX-License-Identifier: MIT
#include "KxLuaToolkit.h"

#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <string>

namespace KxC {
namespace {

/// The first ```lua block after the marker, as a reader would copy it.
std::string ExampleInDocs(const std::string& marker, const char* file = "/tile-sources.md")
{
    std::ostringstream text;
    text << std::ifstream(std::string(KXTILE_DOCS_DIR) + file).rdbuf();
    const std::string page = text.str();
    const std::string fence = "```lua\n";
    EXPECT_NE(page.find(marker), std::string::npos) << marker;
    const std::size_t begin = page.find(fence, page.find(marker)) + fence.size();
    return page.substr(begin, page.find("```", begin) - begin);
}

TEST(TileSourcesPage, ItsFolderOf16ExampleWorks)
{
    KxLuaToolkit toolkit;
    ASSERT_EQ(toolkit.LoadFromString(ExampleInDocs("<!-- example: folders of 16 -->").c_str()), 1)
        << KxLuaToolkit::GetLastError().Cstr();
    const std::array<std::array<int, 3>, 3> tiles = {{{5, 17, 31}, {0, 0, 0}, {12, 1600, 3279}}};
    for (const auto& [level, row, col] : tiles) {
        const std::string expected = "https://tiles.example.org/" + std::to_string(level) + "/" +
                                     std::to_string(col / 16) + "_" + std::to_string(row / 16) +
                                     "/" + std::to_string(col) + "_" + std::to_string(row) + ".png";
        EXPECT_EQ(std::string(toolkit.GetTileURL(level, row, col).Cstr()), expected)
            << KxLuaToolkit::GetLastError().Cstr();
    }
}

/// The date so many days ago, by the C library.
std::string DaysAgo(const char* format, int days)
{
    const std::time_t moment = std::time(nullptr) - std::time_t{days} * 86400;
    std::tm parts = {};
    ::gmtime_r(&moment, &parts);
    std::ostringstream text;
    text << std::put_time(&parts, format);
    return text.str();
}

/// Asks a documented script for a tile, between two looks at the calendar: midnight may pass.
void ExpectDated(const std::string& script,
                 const char* format,
                 int days,
                 const std::string& before,
                 const std::string& behind)
{
    KxLuaToolkit toolkit;
    ASSERT_EQ(toolkit.LoadFromString(script.c_str()), 1) << KxLuaToolkit::GetLastError().Cstr();
    const std::string first = DaysAgo(format, days);
    const std::string url = toolkit.GetTileURL(5, 17, 31).Cstr();
    const std::string last = DaysAgo(format, days);
    EXPECT_TRUE(url == before + first + behind || url == before + last + behind) << url;
}

TEST(TileSourcesPage, ItsDateExampleWorks)
{
    ExpectDated(ExampleInDocs("<!-- example: a date in the path -->"),
                "%Y/%m/%d",
                2,
                "https://imagery.example.org/",
                "/5/17/31.jpg");
}

TEST(AddingASourcePage, ItsScriptWorks)
{
    ExpectDated(ExampleInDocs("Put `survey.lua` beside the definition", "/adding-a-source.md"),
                "%Y%m%d",
                1,
                "https://survey.example.org/",
                "/5/31/17.png");
}

TEST(TileSourcesPage, ItsSignedExampleWorks)
{
    KxLuaToolkit toolkit;
    ASSERT_EQ(toolkit.LoadFromString(ExampleInDocs("<!-- example: a signed address -->").c_str()),
              1)
        << KxLuaToolkit::GetLastError().Cstr();
    struct Signed
    {
        int level, row, col;
        const char* url;
    };
    // printf 'open sesame/3/6/3.pngopen sesame' | md5sum
    for (const Signed& tile :
         {Signed{3, 3, 6, "/3/6/3.png?sign=432c6642d84967bd45e323d24f7ffc4e"},
          Signed{0, 0, 0, "/0/0/0.png?sign=06eb77c6209260ef81b2ce0e08d21df7"},
          Signed{
              18, 114212, 214130, "/18/214130/114212.png?sign=67e41f270933ced547ad83aa5f75f858"}})
        EXPECT_EQ(std::string(toolkit.GetTileURL(tile.level, tile.row, tile.col).Cstr()),
                  std::string("https://tiles.example.org") + tile.url)
            << KxLuaToolkit::GetLastError().Cstr();
}

TEST(TileSourcesPage, ItsSignedExampleSignsTextsOfEveryLength)
{
    // The script as it stands, made to sign a text of its own: the published vectors of RFC 1321.
    std::string script = ExampleInDocs("<!-- example: a signed address -->");
    const std::string call = "md5(secret .. path .. secret)";
    const std::size_t at = script.find(call);
    ASSERT_NE(at, std::string::npos);
    const std::array<std::array<const char*, 2>, 6> vectors = {
        {{"", "d41d8cd98f00b204e9800998ecf8427e"},
         {"a", "0cc175b9c0f1b6a831c399e269772661"},
         {"abc", "900150983cd24fb0d6963f7d28e17f72"},
         {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
         {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
          "d174ab98d277d9f5a5611c2c9f419d9f"},
         {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
          "57edf4a22be3c955ac49da2e2107b67a"}}};
    for (const auto& [text, digest] : vectors) {
        KxLuaToolkit toolkit;
        const std::string edited =
            std::string(script).replace(at, call.size(), "md5('" + std::string(text) + "')");
        ASSERT_EQ(toolkit.LoadFromString(edited.c_str()), 1);
        EXPECT_EQ(std::string(toolkit.GetTileURL(0, 0, 0).Cstr()),
                  std::string("https://tiles.example.org/0/0/0.png?sign=") + digest)
            << KxLuaToolkit::GetLastError().Cstr();
    }
}

} // namespace
} // namespace KxC
