// SPDX-License-Identifier: MIT
#include "unit/retrieval/AddressTiles.h"
#include "unit/support/ScriptedDefinition.h"
#include "unit/support/ScriptedRasters.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace KxC {
namespace {

namespace fs = std::filesystem;
using Testing::Bytes;

class TileFiles : public Testing::OutputTileTest
{
protected:
    /// The path of a tile of the source with a URL template, by its extension with what stands
    /// before it: "27.png" for column 27.
    fs::path PathOf(const KxString& urlTemplate, const std::string& rowAndName) const
    {
        return m_folder.Path() / KxUtility::GetValidHashKey(urlTemplate).Cstr() / rowAndName;
    }
    static void Put(const fs::path& path, const std::string& text = "anything")
    {
        fs::create_directories(path.parent_path());
        WriteFile(path, text);
    }
    static std::string Read(const fs::path& path) { return ReadFile(path); }
    static std::string TextOf(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

    KxString m_path = "before";
};

/// A source by parameters: http://p/{z}/{x}/{y} of whole Web Mercator tiles, counted as given.
class FetchWMTileFile : public TileFiles
{
protected:
    static constexpr char kTemplate[] = "http://p/{$z}/{$x}/{$y}";

    unsigned char Get(const char* imageFormat = "")
    {
        return KxTileFetcher::FetchWMTileFile(
            m_path, kTemplate, "", 1, 2, 3, 10, 0, 0, 0, 256, 256, imageFormat, 0);
    }
    fs::path Path(const std::string& name) const { return PathOf(kTemplate, "3/2/" + name); }
    void MakeFolder() const { fs::create_directories(Path("")); }
    void Answer(const Bytes& bytes) { m_service.Answer("http://p/3/1/2", NetError_Success, bytes); }
};

TEST_F(FetchWMTileFile, TakesAFileThatIsThereWithoutAskingTheService)
{
    Put(Path("1.png"));
    EXPECT_EQ(Get(), 1);
    EXPECT_EQ(m_path, Path("1.png").c_str());
    Put(Path("1.jpeg"), "");
    EXPECT_EQ(Get(), 1);
    EXPECT_EQ(m_path, Path("1.jpeg").c_str()) << "the first that is looked for, whatever it holds";
    EXPECT_EQ(Requests(), 0U);
}

TEST_F(FetchWMTileFile, WritesTheTileUnderItsOwnExtensionWithAWorldFile)
{
    MakeFolder();
    Answer(Testing::kTinyPng);
    ASSERT_EQ(Get(), 1);
    EXPECT_EQ(m_path, Path("1.png").c_str());
    EXPECT_EQ(Read(Path("1.png")), TextOf(Testing::kTinyPng));
    EXPECT_EQ(Read(Path("1.pgw")).substr(0, 13), "19567.878906\n"); // 40075016.7 m / 8 / 256
    EXPECT_EQ(std::distance(fs::directory_iterator(Path("")), fs::directory_iterator()), 2);
}

TEST_F(FetchWMTileFile, WritesUnderTheAskedExtensionWhateverTheTileIs)
{
    MakeFolder();
    Answer(Testing::kTinyPng);
    ASSERT_EQ(Get("jpg"), 1);
    EXPECT_EQ(m_path, Path("1.jpg").c_str());
    EXPECT_EQ(Read(Path("1.jpg")), TextOf(Testing::kTinyPng));
    EXPECT_TRUE(fs::exists(Path("1.pgw"))) << "the world file goes by what the tile is";
}

TEST_F(FetchWMTileFile, FailsWhereTheFolderIsMissing)
{
    Answer(Testing::kTinyPng);
    EXPECT_EQ(Get(), 0);
    EXPECT_EQ(m_path, "");
    EXPECT_FALSE(fs::exists(Path("")));
}

TEST_F(FetchWMTileFile, FailsWithoutATile)
{
    MakeFolder();
    m_service.Answer("http://p/3/1/2", NetError_NoData);
    EXPECT_EQ(Get(), 0);
    EXPECT_EQ(m_path, "");
    m_service.Answer("http://p/3/1/2", NetError_Failure);
    EXPECT_EQ(Get(), 0);
    EXPECT_TRUE(fs::is_empty(Path("")));
}

TEST_F(FetchWMTileFile, RefusesExtensionsThatLeaveTheFolder)
{
    MakeFolder();
    Answer(Testing::kTinyPng);
    for (const char* ext : {"../x", "a/b", "..", "a\\b"}) {
        EXPECT_EQ(Get(ext), 0) << ext;
        EXPECT_EQ(m_path, "");
    }
    EXPECT_EQ(KxTileFetcher::FetchWMTileFile(
                  m_path, kTemplate, "", 1, 2, 3, 10, 0, 0, 0, 256, 256, KxString("p\0ng", 4), 0),
              0);
    EXPECT_TRUE(fs::is_empty(Path("")));
    EXPECT_EQ(Requests(), 0U);
}

/// The same of a definition file.
class FetchWMTileFile2 : public TileFiles
{
protected:
    FetchWMTileFile2()
    {
        m_definition.m_urlTemplate = "http://d/%d/%d/%d";
        m_definition.m_axisOrder = "Z,X,Y";
        m_definition.m_scheme = "WebMercatorWGS84";
        m_service.Answer("http://d/3/1/2", NetError_Success, Testing::kTinyPng);
    }
    /// Of a path of its own each time: the registry reads a definition once.
    unsigned char Get()
    {
        const std::string key = "/definitions/" + std::to_string(m_count++) + ".toml";
        return KxTileFetcher::FetchWMTileFile2(m_path, key.c_str(), 1, 2, 3, 256, 0);
    }

    Testing::ScriptedDefinition m_definition;
    static int m_count;
};

int FetchWMTileFile2::m_count = 0;

TEST_F(FetchWMTileFile2, MakesTheFolders)
{
    ASSERT_EQ(Get(), 1);
    EXPECT_TRUE(fs::exists(m_path.Cstr()));
    EXPECT_THAT(m_path.Cstr(), ::testing::EndsWith("/3/2/1.png"));
    EXPECT_TRUE(fs::exists(fs::path(m_path.Cstr()).replace_extension("pgw")));
}

TEST_F(FetchWMTileFile2, NamesTheFileForTheSourcesFormat)
{
    m_definition.m_imageFormat = "jpg";
    ASSERT_EQ(Get(), 1);
    EXPECT_THAT(m_path.Cstr(), ::testing::EndsWith("/3/2/1.jpg"));
    EXPECT_TRUE(fs::exists(fs::path(m_path.Cstr()).replace_extension("pgw")));
}

TEST_F(FetchWMTileFile2, FailsWithAnUnreadableDefinition)
{
    m_definition.m_result = 0;
    EXPECT_EQ(Get(), 0);
    EXPECT_EQ(m_path, "");
}

/// Of a raster.
class FetchTileFileFromRaster : public TileFiles
{
protected:
    FetchTileFileFromRaster()
    {
        m_rasters.m_image = [](int level, int row, int col) {
            return Testing::AddressImage({level, row, col}, 256, 4);
        };
    }
    unsigned char Get(const char* imageFormat = "")
    {
        return KxTileFetcher::FetchTileFileFromRaster(m_path, imageFormat, kRaster, 27, 12, 5, 256);
    }
    fs::path Path(const std::string& name) const { return PathOf(kRaster, "5/12/" + name); }

    static constexpr char kRaster[] = "/rasters/of-files.tif";
    Testing::ScriptedRasters m_rasters;
};

TEST_F(FetchTileFileFromRaster, PutsTwoDotsBeforeASampledTilesExtension)
{
    fs::create_directories(Path(""));
    ASSERT_EQ(Get(), 1);
    EXPECT_EQ(m_path, Path("27..png").c_str());
    EXPECT_TRUE(fs::exists(Path("27..pgw")));
    // Which the next call does not look for: the tile is cut again.
    fs::remove(Path("27..png"));
    ASSERT_EQ(Get(), 1);
    EXPECT_TRUE(fs::exists(Path("27..png")));
}

TEST_F(FetchTileFileFromRaster, TakesTheAskedExtensionAsItStands)
{
    fs::create_directories(Path(""));
    ASSERT_EQ(Get("png"), 1);
    EXPECT_EQ(m_path, Path("27.png").c_str());
    Put(Path("27.png"), "kept");
    ASSERT_EQ(Get("png"), 1);
    EXPECT_EQ(Read(Path("27.png")), "kept");
}

TEST_F(FetchTileFileFromRaster, MakesNoFolder)
{
    EXPECT_EQ(Get(), 0);
    EXPECT_EQ(m_path, "");
    EXPECT_FALSE(fs::exists(Path("")));
}

} // namespace
} // namespace KxC
