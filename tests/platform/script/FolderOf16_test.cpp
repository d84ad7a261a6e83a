// SPDX-License-Identifier: MIT
#include "KxLuaToolkit.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <sstream>
#include <string>

namespace KxC {
namespace {

/// The first ```lua block after the marker, as a reader would copy it.
std::string ExampleInDocs(const std::string& marker)
{
    std::ostringstream text;
    text << std::ifstream(KXTILE_DOCS_DIR "/tile-sources.md").rdbuf();
    const std::string page = text.str();
    const std::string fence = "```lua\n";
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

} // namespace
} // namespace KxC
