// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace KxC {
namespace {

namespace fs = std::filesystem;

/// A log in a folder that does not exist before the first line.
class KxFileLogTest : public testing::Test
{
public:
    ~KxFileLogTest() override { KxFile::m_strAppCachePath = m_cachePathBefore; }

protected:
    KxFileLogTest() : m_cachePathBefore(KxFile::m_strAppCachePath)
    {
        KxFile::m_strAppCachePath = Folder().c_str();
    }
    fs::path Folder() const { return m_temp.Path() / "cache"; }
    fs::path Log() const { return Folder() / "kxtile.log"; }

    TempFolder m_temp;
    KxString m_cachePathBefore;
};

void WriteLines(char name, int lines)
{
    // Longer than what is written in one piece anyway.
    const std::string line(9000, name);
    for (int i = 0; i < lines; ++i)
        KxFile::WriteLogInfo(line.c_str());
}

/// How often each line stands in the log.
std::map<std::string, int> CountLines(const fs::path& log)
{
    std::map<std::string, int> counts;
    std::istringstream lines(ReadFile(log));
    for (std::string line; std::getline(lines, line);)
        ++counts[line];
    return counts;
}

TEST_F(KxFileLogTest, AppendsLines)
{
    KxFile::WriteLogInfo("one");
    KxFile::WriteLogInfo("");
    KxFile::WriteLogInfo("\xB4\xF2\xBF\xAA");
    EXPECT_EQ(ReadFile(Log()), "one\n\n\xB4\xF2\xBF\xAA\n");
}

TEST_F(KxFileLogTest, KeepsALineOneLineWhateverIsInIt)
{
    KxFile::WriteLogInfo(KxString("a\nb\0c\r\td", 8));
    EXPECT_EQ(ReadFile(Log()), "a b c  d\n");
}

TEST_F(KxFileLogTest, KeepsLinesOfManyThreadsWhole)
{
    std::vector<std::thread> threads;
    for (char name = 'a'; name < 'a' + 8; ++name)
        threads.emplace_back([name] { WriteLines(name, 10); });
    for (std::thread& thread : threads)
        thread.join();
    std::map<std::string, int> expected;
    for (char name = 'a'; name < 'a' + 8; ++name)
        expected[std::string(9000, name)] = 10;
    EXPECT_EQ(CountLines(Log()), expected);
}

TEST_F(KxFileLogTest, KeepsLinesOfManyProcessesWhole)
{
    std::vector<pid_t> children;
    std::map<std::string, int> expected;
    for (char name = 'a'; name < 'a' + 4; ++name) {
        expected[std::string(9000, name)] = 10;
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            WriteLines(name, 10);
            ::_exit(0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children)
        ::waitpid(child, nullptr, 0);
    EXPECT_EQ(CountLines(Log()), expected);
}

TEST_F(KxFileLogTest, PassesOverAFolderThatCannotBeMade)
{
    WriteFile(Folder(), "a file in the folder's place");
    KxFile::WriteLogInfo("lost");
    EXPECT_EQ(ReadFile(Folder()), "a file in the folder's place");
}

TEST_F(KxFileLogTest, PassesOverAFolderOrAPipeInItsPlace)
{
    fs::create_directories(Log());
    KxFile::WriteLogInfo("lost");
    fs::remove(Log());
    ASSERT_EQ(::mkfifo(Log().c_str(), 0600), 0);
    KxFile::WriteLogInfo("lost");
}

TEST_F(KxFileLogTest, LeavesNoHalfLineOnAFullDisk)
{
    KxFile::WriteLogInfo("whole");
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // No file of this process grows beyond what the line needs.
        const rlimit limit = {100, 100};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        KxFile::WriteLogInfo(std::string(1000, 'x').c_str());
        ::_exit(0);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ReadFile(Log()), "whole\n");
}

} // namespace
} // namespace KxC
