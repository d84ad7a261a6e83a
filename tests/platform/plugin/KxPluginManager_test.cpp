// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "KxPlugin.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace KxC {
namespace {

namespace fs = std::filesystem;

/// A folder of plug-ins, the log beside it, and the environment that points to them.
class KxPluginManagerTest : public testing::Test
{
public:
    ~KxPluginManagerTest() override
    {
        KxFile::m_strAppCachePath = m_cachePathBefore;
        // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread runs between tests
        ::unsetenv("KXTILE_PLUGIN_PATH");
    }

protected:
    KxPluginManagerTest() : m_cachePathBefore(KxFile::m_strAppCachePath)
    {
        fs::create_directory(Folder());
        KxFile::m_strAppCachePath = m_temp.File("cache").c_str();
        UsePath(Folder().string());
    }
    static void UsePath(const std::string& path)
    {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread runs between tests
        ::setenv("KXTILE_PLUGIN_PATH", path.c_str(), 1);
    }
    static fs::path Made(const std::string& name) { return fs::path(KX_TEST_PLUGINS) / name; }

    fs::path Folder() const { return m_temp.Path() / "plugins"; }
    void Put(const std::string& name) const { fs::create_symlink(Made(name), Folder() / name); }
    std::unique_ptr<KxPlugin> Find(const char* ext, const char* kind = "TestKind")
    {
        return std::unique_ptr<KxPlugin>(m_manager.FindPluginByExt(kind, ext));
    }
    std::string LogText() const { return ReadFile(m_temp.Path() / "cache" / "kxtile.log"); }
    long LogLines() const
    {
        const std::string text = LogText();
        return std::count(text.begin(), text.end(), '\n');
    }

    TempFolder m_temp;
    KxString m_cachePathBefore;
    KxPluginManager m_manager;
};

/// The mark of the plug-in's objects: the length of its name.
constexpr unsigned char kGood = 6;
constexpr unsigned char kSecond = 8;

TEST_F(KxPluginManagerTest, HandsOutAFreshObjectForEachCall)
{
    Put("KxGood.so");
    const auto first = Find(".good");
    const auto second = Find(".good");
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(first->Initialize(), kGood);
    EXPECT_EQ(LogText(), "");
}

TEST_F(KxPluginManagerTest, MatchesExtensionsWithoutRegardToCase)
{
    Put("KxGood.so");
    EXPECT_NE(Find(".GOOD"), nullptr);
    EXPECT_NE(Find(".good2"), nullptr);
}

TEST_F(KxPluginManagerTest, HasNoneForAnotherKindOrExtension)
{
    Put("KxGood.so");
    EXPECT_EQ(Find(".good", "OtherKind"), nullptr);
    EXPECT_EQ(Find(".goo"), nullptr);
    EXPECT_EQ(Find("good"), nullptr);
    EXPECT_EQ(Find(""), nullptr);
}

TEST_F(KxPluginManagerTest, TakesTheFirstByNameOfTwoForOneExtension)
{
    Put("KxSecond.so");
    Put("KxGood.so");
    EXPECT_EQ(Find(".both")->Initialize(), kGood);
    EXPECT_EQ(Find(".second")->Initialize(), kSecond);
}

TEST_F(KxPluginManagerTest, TakesFoldersInTheOrderOfThePath)
{
    const fs::path other = m_temp.Path() / "other";
    fs::create_directory(other);
    fs::create_symlink(Made("KxSecond.so"), other / "KxZ.so");
    Put("KxGood.so");
    UsePath(m_temp.File("missing") + "::" + other.string() + ":" + Folder().string());
    EXPECT_EQ(Find(".both")->Initialize(), kSecond);
    EXPECT_EQ(Find(".good")->Initialize(), kGood);
    EXPECT_EQ(LogText(), "");
}

TEST_F(KxPluginManagerTest, AnObjectThatCannotBeMadeIsNoPlugin)
{
    Put("KxThrowing.so");
    Put("KxNull.so");
    EXPECT_EQ(Find(".throws"), nullptr);
    EXPECT_EQ(Find(".null"), nullptr);
}

TEST_F(KxPluginManagerTest, LeavesOutEachUnfitFileWithOneLine)
{
    const std::vector<std::string> unfit = {
        "KxDeclaresNull.so", "KxIncomplete.so", "KxNoEntry.so", "KxOtherAbi.so"};
    for (const std::string& name : unfit)
        Put(name);
    WriteFile(Folder() / "Kxbad.so", "no library at all\n");
    WriteFile(Folder() / "Kxempty.so", "");
    Put("KxGood.so");
    EXPECT_NE(Find(".good"), nullptr);
    for (const char* ext : {".declaresnull", ".incomplete", ".noentry", ".otherabi"})
        EXPECT_EQ(Find(ext), nullptr) << ext;
    EXPECT_EQ(LogLines(), 6) << LogText();
    for (const std::string& name : unfit)
        EXPECT_NE(LogText().find(name), std::string::npos) << name;
    EXPECT_NE(LogText().find("plug-in ABI 2, not 1"), std::string::npos) << LogText();
    EXPECT_NE(LogText().find("Kxbad.so"), std::string::npos) << LogText();
}

TEST_F(KxPluginManagerTest, LoadsOnlyFilesNamedAsPlugins)
{
    WriteFile(Folder() / "libOther.so", "");
    WriteFile(Folder() / "KxReadme.txt", "");
    WriteFile(Folder() / "KxOld.so.1", "");
    fs::create_symlink(Made("KxGood.so"), Folder() / "Good.so");
    EXPECT_EQ(Find(".good"), nullptr);
    EXPECT_EQ(LogText(), "");
}

TEST_F(KxPluginManagerTest, DoesNotWaitForAPipeNorOpenAFolder)
{
    ASSERT_EQ(::mkfifo((Folder() / "Kxpipe.so").c_str(), 0600), 0);
    fs::create_directory(Folder() / "Kxfolder.so");
    fs::create_symlink("nowhere", Folder() / "Kxdangling.so");
    EXPECT_EQ(Find(".good"), nullptr);
    EXPECT_EQ(LogLines(), 3) << LogText();
}

TEST_F(KxPluginManagerTest, KeepsALogLineOneAsciiLineWhateverTheFileIsCalled)
{
    WriteFile(Folder() / "Kx\nforged line \xE5\x9C\xB0.so", "");
    EXPECT_EQ(Find(".good"), nullptr);
    EXPECT_EQ(LogLines(), 1) << LogText();
    const std::string text = LogText();
    EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; }));
}

TEST_F(KxPluginManagerTest, StopsAtTooManyFiles)
{
    for (int i = 0; i < 300; ++i)
        WriteFile(Folder() / ("Kx" + std::to_string(i) + ".so"), "");
    EXPECT_EQ(Find(".good"), nullptr);
    EXPECT_EQ(LogLines(), 257) << "256 files, and that there are more";
}

TEST_F(KxPluginManagerTest, HasNothingInAFolderThatIsAFileOrCannotBeRead)
{
    WriteFile(m_temp.File("file"), "");
    Put("KxGood.so");
    fs::permissions(Folder(), fs::perms::none);
    UsePath(m_temp.File("file") + ":" + std::string(5000, 'x'));
    EXPECT_EQ(Find(".good"), nullptr);
    fs::permissions(Folder(), fs::perms::owner_all);
}

TEST_F(KxPluginManagerTest, AnEmptyPathReplacesTheInstalledFolder)
{
    UsePath("");
    EXPECT_EQ(Find(".good"), nullptr);
}

TEST_F(KxPluginManagerTest, LooksBesideItsOwnLibraryWithoutAPath)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread runs between tests
    ::unsetenv("KXTILE_PLUGIN_PATH");
    const fs::path installed = fs::path(KX_COMMON_LIBRARY_FOLDER) / "kxtile" / "plugins";
    const bool mine = fs::create_directories(installed);
    const fs::path file = installed / "KxGood.so";
    fs::create_symlink(Made("KxGood.so"), file);
    const auto found = Find(".good");
    fs::remove(file);
    if (mine)
        fs::remove_all(installed.parent_path());
    EXPECT_NE(found, nullptr);
}

TEST_F(KxPluginManagerTest, LooksOnceOnly)
{
    EXPECT_EQ(Find(".good"), nullptr);
    Put("KxGood.so");
    EXPECT_EQ(Find(".good"), nullptr);
}

TEST_F(KxPluginManagerTest, LoadsOnceForManyThreads)
{
    Put("KxGood.so");
    WriteFile(Folder() / "Kxbad.so", "");
    std::array<std::unique_ptr<KxPlugin>, 8> found;
    std::vector<std::thread> threads;
    threads.reserve(found.size());
    for (auto& one : found)
        threads.emplace_back([&] { one = Find(".good"); });
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& one : found)
        EXPECT_NE(one, nullptr);
    EXPECT_EQ(LogLines(), 1) << LogText();
}

TEST_F(KxPluginManagerTest, ObjectsOutliveTheManager)
{
    Put("KxGood.so");
    auto manager = std::make_unique<KxPluginManager>();
    const std::unique_ptr<KxPlugin> object(manager->FindPluginByExt("TestKind", ".good"));
    manager.reset();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->Initialize(), kGood);
}

} // namespace
} // namespace KxC
