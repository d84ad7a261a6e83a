// SPDX-License-Identifier: MIT
#include "OriginTest.h"

#include <cstdlib>
#include <filesystem>

namespace KxC {
namespace {

using Testing::Pixels;

class DefinitionsOverHttp : public Testing::OriginTest
{
protected:
    DefinitionsOverHttp() { ::setenv("KXORIGIN", m_origin.Address().c_str(), 1); }

    static constexpr int kLevel = 3;
    static constexpr int kRow = 4; ///< 3 from the north
    static constexpr int kCol = 4;
};

double MeanDifference(const Pixels& a, const Pixels& b)
{
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += std::abs(a[i] - b[i]);
    return sum / static_cast<double>(a.size());
}

TEST_F(DefinitionsOverHttp, TheExamplesShowOnePlace)
{
    const Pixels reference = Fetch(Source("/xyz/marble/{$z}/{$x}/{$y}.png"), kLevel, kRow, kCol);
    ASSERT_FALSE(reference.empty());
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(KXTILE_EXAMPLE_SOURCES)) {
        if (!entry.is_regular_file())
            continue;
        KxTSDParamItem item;
        item.LoadFromTSDFile(entry.path().c_str());
        const Pixels pixels = Fetch(item, kLevel, kRow, kCol);
        ASSERT_EQ(pixels.size(), reference.size()) << entry.path();
        // Lossy formats differ by a few grey levels; another place differs by dozens.
        EXPECT_LT(MeanDifference(pixels, reference), 6.0) << entry.path();
        ++count;
    }
    EXPECT_EQ(count, 6);
}

TEST_F(DefinitionsOverHttp, TheExamplesOfOtherGridsAskForTheRightTiles)
{
    const struct
    {
        const char* file;
        int level, row, col; ///< rows from the south
        const char* path;
    } kExamples[] = {
        {"baidu.toml", 5, 2, 6, "/baidu/marble.jpg?x=6&y=2&z=5"},
        {"baidu.toml", 5, -3, -4, "/baidu/marble.jpg?x=M4&y=M3&z=5"},
        {"gcj02.toml", 3, 5, 6, "/xyz-gcj02/marble/3/6/2.jpg"},
        {"bd09.toml", 3, 5, 6, "/xyz-bd09/marble/3/6/2.jpg"},
        {"tianditu.toml", 3, 4, 6, "/tianditu/marble/3/6/1.jpg"},
        {"geographic.toml", 3, 4, 6, "/geographic/marble/3/6/3.jpg"},
        {"large-tiles.toml", 2, 2, 3, "/xyz-512/marble/2/3/1.jpg"},
    };
    for (const auto& example : kExamples) {
        KxTSDParamItem item;
        item.LoadFromTSDFile(
            (std::string(KXTILE_EXAMPLE_SOURCES "/grids/") + example.file).c_str());
        const Pixels pixels = Fetch(item, example.level, example.row, example.col);
        EXPECT_EQ(m_origin.Requests().back()["path"], example.path);
        EXPECT_EQ(pixels, Fetch(Source(example.path), 0, 0, 0)) << example.file;
    }
}

TEST_F(DefinitionsOverHttp, AnotherPlaceDiffersByMore)
{
    KxTSDParamItem& source = Source("/xyz/marble/{$z}/{$x}/{$y}.png");
    const Pixels here = Fetch(source, kLevel, kRow, kCol);
    EXPECT_GT(MeanDifference(Fetch(source, kLevel, kRow - 1, kCol), here), 20.0);
}

TEST_F(DefinitionsOverHttp, AHeaderMayHoldASecret)
{
    ::setenv("KXTILE_TEST_KEY", "let-me-in", 1);
    const std::string path = m_folder.Write("keyed.toml",
                                            "url = \"${KXORIGIN}/key/marble/{$z}/{$x}/{$y}.jpg\"\n"
                                            "scheme = \"WebMercatorWGS84\"\n"
                                            "headers = [\"X-Api-Key: ${KXTILE_TEST_KEY}\"]\n");
    KxTSDParamItem item;
    item.LoadFromTSDFile(path.c_str());
    EXPECT_FALSE(Fetch(item, kLevel, kRow, kCol).empty());
}

TEST_F(DefinitionsOverHttp, AScriptBesideTheDefinitionMakesTheUrl)
{
    m_folder.Write("rows.lua",
                   "function GetTileURL(level, row, col)\n"
                   "  return '" +
                       m_origin.Url("/axis/graticule/yxz/") +
                       "' .. row .. '/' .. col .. '/' .. level .. '.png'\nend\n");
    const std::string path =
        m_folder.Write("scripted.toml", "url = \"rows.lua\"\nscheme = \"WebMercatorWGS84\"\n");
    KxTSDParamItem item;
    item.LoadFromTSDFile(path.c_str());
    EXPECT_EQ(Fetch(item, kLevel, kRow, kCol),
              Fetch(Source("/xyz/graticule/{$z}/{$x}/{$y}.png"), kLevel, kRow, kCol));
}

TEST_F(DefinitionsOverHttp, APercentSignOfTheUrlStays)
{
    const std::string path =
        m_folder.Write("percent.toml",
                       "url = \"${KXORIGIN}/xyz/mar%62le/{$z}/{$x}/{$y}.png?a=%20%d%s%%\"\n"
                       "scheme = \"WebMercatorWGS84\"\n");
    KxTSDParamItem item;
    item.LoadFromTSDFile(path.c_str());
    EXPECT_FALSE(Fetch(item, kLevel, kRow, kCol).empty());
    EXPECT_EQ(m_origin.Requests().back()["path"], "/xyz/mar%62le/3/4/3.png?a=%20%d%s%%");
}

} // namespace
} // namespace KxC
