// SPDX-License-Identifier: MIT
// Several processes on one folder: what the others do is in cache_child.cpp.
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

/// A process of cache_child; its standard output comes through a pipe.
class Child
{
public:
    explicit Child(const std::vector<std::string>& arguments)
    {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            return;
        std::vector<const char*> texts{KX_CACHE_CHILD};
        for (const std::string& argument : arguments)
            texts.push_back(argument.c_str());
        texts.push_back(nullptr);
        m_process = ::fork();
        if (m_process == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::execv(KX_CACHE_CHILD, const_cast<char* const*>(texts.data()));
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

TEST_F(KxRawDataTypeCacheProcesses, ThreeStartAndWriteOneSubTreeAtOnce)
{
    {
        std::vector<std::unique_ptr<Child>> children;
        for (int number = 1; number <= 3; ++number)
            children.push_back(std::make_unique<Child>(std::vector<std::string>{
                "writes", m_folder, std::to_string(number), std::to_string(kTilesOfAWriter)}));
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
        Child child({"writes-on", m_folder});
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
