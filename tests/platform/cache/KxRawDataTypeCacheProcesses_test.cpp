// SPDX-License-Identifier: MIT
// Several processes on one folder: this program started again with one of the tests named
// "Child", which do their work only when told the folder by the environment.
#include "CacheFolder.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <vector>

namespace KxC {
namespace {

using KxRawDataTypeCacheProcesses = CacheFolderTest;

constexpr int kTilesOfAWriter = 100;

std::string Environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// A child that runs one test of this program; its standard output comes through a pipe.
class Child
{
public:
    Child(const std::string& test, const std::string& folder, int number)
    {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            return;
        const std::string filter = "--gtest_filter=" + test;
        m_process = ::fork();
        if (m_process == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::setenv("KXCACHE_CHILD_FOLDER", folder.c_str(), 1);
            ::setenv("KXCACHE_CHILD_NUMBER", std::to_string(number).c_str(), 1);
            ::execl("/proc/self/exe", "cache_test", filter.c_str(), nullptr);
            ::_exit(127);
        }
        ::close(ends[1]);
        m_output = ::fdopen(ends[0], "r");
    }
    ~Child()
    {
        Wait();
        std::fclose(m_output);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// The number on the next line that tells of a stored tile; -1 at the end of the output.
    int NextStored()
    {
        std::array<char, 256> line{};
        int stored = -1;
        while (std::fgets(line.data(), static_cast<int>(line.size()), m_output) != nullptr)
            if (std::sscanf(line.data(), "stored %d\n", &stored) == 1)
                return stored;
        return -1;
    }
    void Kill() const { ::kill(m_process, SIGKILL); }
    int Wait()
    {
        int status = 0;
        if (m_process > 0)
            ::waitpid(m_process, &status, 0);
        m_process = -1;
        return status;
    }

private:
    pid_t m_process = -1;
    FILE* m_output = nullptr;
};

TEST(KxRawDataTypeCacheChild, Writes)
{
    const std::string folder = Environment("KXCACHE_CHILD_FOLDER");
    if (folder.empty())
        GTEST_SKIP() << "works for another test";
    KxFile::m_strAppCachePath = folder.c_str();
    const int number = std::stoi(Environment("KXCACHE_CHILD_NUMBER"));
    for (int col = 0; col < kTilesOfAWriter; ++col) {
        ASSERT_TRUE(
            SaveText(m_gRawDataTypeCacheManager, "a", number, 0, col, std::string(3000, 'x')));
        ASSERT_TRUE(SaveText(m_gRawDataTypeCacheManager, "a", 30, 0, col, "shared"));
    }
}

TEST(KxRawDataTypeCacheChild, WritesUntilKilled)
{
    const std::string folder = Environment("KXCACHE_CHILD_FOLDER");
    if (folder.empty())
        GTEST_SKIP() << "works for another test";
    KxFile::m_strAppCachePath = folder.c_str();
    for (int col = 0;; ++col) {
        ASSERT_TRUE(SaveText(m_gRawDataTypeCacheManager,
                             "a",
                             1,
                             0,
                             col,
                             std::to_string(col) + std::string(5000, 'x')));
        std::printf("stored %d\n", col);
        std::fflush(stdout);
    }
}

TEST_F(KxRawDataTypeCacheProcesses, ThreeStartAndWriteOneSubTreeAtOnce)
{
    {
        std::vector<std::unique_ptr<Child>> children;
        for (int number = 1; number <= 3; ++number)
            children.push_back(
                std::make_unique<Child>("KxRawDataTypeCacheChild.Writes", m_folder, number));
        for (const std::unique_ptr<Child>& child : children)
            EXPECT_EQ(child->Wait(), 0);
    }
    EXPECT_EQ(Query(PathOf("a"), "SELECT count(*) FROM tiles"),
              std::to_string(4 * kTilesOfAWriter));
    EXPECT_EQ(Query(PathOf("a"), "PRAGMA integrity_check"), "ok");
    EXPECT_EQ(LoadText(*m_manager, "a", 2, 0, kTilesOfAWriter - 1), std::string(3000, 'x'));
}

TEST_F(KxRawDataTypeCacheProcesses, KilledWriterLosesNothingThatItStored)
{
    int last = -1;
    {
        Child child("KxRawDataTypeCacheChild.WritesUntilKilled", m_folder, 1);
        while (last < 400) {
            last = child.NextStored();
            ASSERT_GE(last, 0) << "the child ended by itself";
        }
        child.Kill();
        for (int stored = child.NextStored(); stored >= 0; stored = child.NextStored())
            last = stored;
    }
    for (int col = 0; col <= last; ++col)
        ASSERT_EQ(LoadText(*m_manager, "a", 1, 0, col),
                  std::to_string(col) + std::string(5000, 'x'));
    EXPECT_EQ(Query(PathOf("a"), "PRAGMA integrity_check"), "ok");
}

} // namespace
} // namespace KxC
