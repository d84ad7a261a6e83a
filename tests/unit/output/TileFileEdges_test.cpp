// SPDX-License-Identifier: MIT
// Tile files where something besides the tile decides: the disk, other threads, the date.
#include "unit/retrieval/AddressTiles.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

namespace KxC {
namespace {

namespace fs = std::filesystem;
using Testing::Bytes;
using ::testing::UnorderedElementsAre;

/// A picture of one pixel as the GIF format's own text describes it.
const Bytes kTinyGif = {'G', 'I', 'F', '8', '9',  'a',  1,    0,    1, 0, 0x80, 0,
                        0,   0,   0,   0,   0xFF, 0xFF, 0xFF, 0x2C, 0, 0, 0,    0,
                        1,   0,   1,   0,   0,    2,    2,    0x44, 1, 0, 0x3B};

class TileFileEdges : public Testing::OutputTileTest
{
protected:
    TileFileEdges() { fs::create_directories(Folder()); }

    fs::path Folder() const
    {
        return m_folder.Path() / KxUtility::GetValidHashKey(kTemplate).Cstr() / "3/2";
    }
    void Answer(const Bytes& bytes) { m_service.Answer("http://e/3/1/2", NetError_Success, bytes); }
    static unsigned char Get(KxString& path, const char* imageFormat = "")
    {
        return KxTileFetcher::FetchWMTileFile(
            path, kTemplate, "", 1, 2, 3, 10, 0, 0, 0, 256, 256, imageFormat, 0);
    }
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(Folder()))
            names.push_back(entry.path().filename().string());
        return names;
    }

    static constexpr char kTemplate[] = "http://e/{$z}/{$x}/{$y}";
    KxString m_path = "before";
};

TEST_F(TileFileEdges, AreGoodWithoutAWorldFile)
{
    fs::create_directories(Folder() / "1.pgw"); // so that none can be written there
    Answer(Testing::kTinyPng);
    EXPECT_EQ(Get(m_path), 1);
    EXPECT_EQ(m_path, (Folder() / "1.png").c_str());
    EXPECT_EQ(fs::file_size(Folder() / "1.png"), Testing::kTinyPng.size());
}

TEST_F(TileFileEdges, HaveAWorldFileWithoutExtensionForOtherPictures)
{
    Answer(kTinyGif);
    ASSERT_EQ(Get(m_path), 1);
    EXPECT_THAT(Names(), UnorderedElementsAre("1.gif", "1"));
    EXPECT_EQ(Get(m_path), 1);
    EXPECT_EQ(Requests(), 2U) << "only .jpeg and .png are looked for";
}

TEST_F(TileFileEdges, FailAndLeaveNothingWhereTheFileCannotBeWritten)
{
    Answer(Testing::kTinyPng);
    EXPECT_EQ(Get(m_path, std::string(300, 'x').c_str()), 0) << "no file system takes that name";
    EXPECT_EQ(m_path, "");
    EXPECT_THAT(Names(), ::testing::IsEmpty());
}

TEST_F(TileFileEdges, AreWholeWheneverTheirNameIsThere)
{
    // The picture is long, so that writing it takes a while.
    Bytes picture = Testing::kTinyPng;
    picture.resize(4U << 20, 0);
    Answer(picture);
    std::atomic<int> failures{0};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 6; ++i)
        threads.emplace_back([&] {
            KxString path;
            const bool whole = Get(path) == 1 && fs::file_size(path.Cstr()) == picture.size();
            failures += whole ? 0 : 1;
        });
    threads.clear();
    EXPECT_EQ(failures, 0);
    EXPECT_THAT(Names(), UnorderedElementsAre("1.png", "1.pgw"));
}

/// History imagery of a day.
class FetchGEHistoryTileFile : public Testing::OutputTileTest
{
protected:
    FetchGEHistoryTileFile()
    {
        m_service.AnswerEarth(NetError_Success,
                              Testing::EncodePng(*Testing::AddressImage({0, 0, 0}, 256, 3)));
        // The record of the day is made by the registry, with a folder of its own.
        m_tiles =
            m_folder.Path() /
            m_gTSDParamManager.GetTSDParam("http://day", "", 8, 0, 0, 0, 256, "jpeg", 1, m_day)
                ->m_strHashKey.Cstr() /
            "0/0";
    }
    unsigned char Get()
    {
        return KxTileFetcher::FetchGEHistoryTileFile(m_path, "http://day", m_day, 0, 0, 0, 256, 0);
    }

    const KxTime m_day{2019, 3, 7};
    fs::path m_tiles;
    KxString m_path = "before";
};

TEST_F(FetchGEHistoryTileFile, FailsWhereTheFolderIsMissing)
{
    EXPECT_EQ(Get(), 0);
    EXPECT_EQ(m_path, "");
}

TEST_F(FetchGEHistoryTileFile, WritesAJpegWithItsWorldFile)
{
    fs::create_directories(m_tiles);
    ASSERT_EQ(Get(), 1);
    EXPECT_EQ(m_path, (m_tiles / "0.jpeg").c_str());
    EXPECT_EQ(ReadFile(m_tiles / "0.jpeg").substr(0, 2), "\xFF\xD8");
    EXPECT_TRUE(fs::exists(m_tiles / "0.jgw"));
}

TEST_F(FetchGEHistoryTileFile, NamesEveryTileJpegButItsWorldFileForWhatItIs)
{
    m_service.AnswerEarth(NetError_Success,
                          Testing::EncodePng(*Testing::AddressImage({0, 0, 0}, 256, 4)));
    KxTSDParamItem* const source =
        m_gTSDParamManager.GetTSDParam("http://day", "", 8, 0, 0, 0, 256, "jpeg", 1, m_day);
    // Alpha survives only with a format that has it.
    const KxString before = source->m_strImageFormat;
    source->m_strImageFormat = "png";
    fs::create_directories(m_tiles);
    EXPECT_EQ(Get(), 1);
    source->m_strImageFormat = before;
    EXPECT_EQ(m_path, (m_tiles / "0.jpeg").c_str());
    EXPECT_EQ(ReadFile(m_tiles / "0.jpeg").substr(1, 3), "PNG");
    EXPECT_TRUE(fs::exists(m_tiles / "0.pgw"));
}

TEST_F(FetchGEHistoryTileFile, LooksForAJpegOnly)
{
    fs::create_directories(m_tiles);
    std::ofstream(m_tiles / "0.png") << "not looked for";
    EXPECT_EQ(Get(), 1);
    EXPECT_EQ(Requests(), 1U);
    std::ofstream(m_tiles / "0.jpeg") << "anything";
    EXPECT_EQ(Get(), 1);
    EXPECT_EQ(m_path, (m_tiles / "0.jpeg").c_str());
    EXPECT_EQ(Requests(), 1U);
    EXPECT_EQ(ReadFile(m_tiles / "0.jpeg"), "anything");
}

TEST_F(FetchGEHistoryTileFile, FailsWithoutImagery)
{
    fs::create_directories(m_tiles);
    m_service.AnswerEarth(NetError_NoData, {});
    EXPECT_EQ(Get(), 0);
    EXPECT_EQ(m_path, "");
    EXPECT_TRUE(fs::is_empty(m_tiles));
}

} // namespace
} // namespace KxC
