// SPDX-License-Identifier: MIT
#include "serve/OriginChild.h"

#include "Command.h"
#include "support/TempFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>

namespace {

using namespace KxTileHost;
using namespace KxTileHost::Serve;
using namespace std::chrono_literals;

/// Longer than any test may take.
constexpr auto kForEver = 1h;
constexpr auto kSoon = 200ms;

class OriginChildTest : public ::testing::Test
{
protected:
    /// A program that a shell runs; $2 is the port that it is to take.
    OriginChild::Program Script(const std::string& lines) const
    {
        OriginChild::Program program;
        program.m_path = m_folder.File("origin");
        program.m_timeToStart = kForEver;
        program.m_timeToStartAgain = kForEver;
        program.m_timeToEnd = kForEver;
        KxC::WriteFile(program.m_path, "#!/bin/sh\ncd " + m_folder.Path().string() + "\n" + lines);
        ::chmod(program.m_path.c_str(), 0700);
        return program;
    }

    ~OriginChildTest() override
    {
        if (m_pipe >= 0)
            ::close(m_pipe);
    }

    /// What scripts write to the pipe "told", line by line; waits for each.
    void OpenPipe()
    {
        const std::string path = m_folder.File("told");
        ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
        m_pipe = ::open(path.c_str(), O_RDWR | O_CLOEXEC); // it has no end between two writers
        ASSERT_GE(m_pipe, 0);
    }
    std::string Told() const
    {
        std::string line;
        for (char byte = 0; ::read(m_pipe, &byte, 1) == 1 && byte != '\n';)
            line += byte;
        return line;
    }

    static void ExpectNoneIsLeft()
    {
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
    }

    KxC::TempFolder m_folder;

private:
    int m_pipe = -1;
};

TEST_F(OriginChildTest, GivesTheAddressThatItsFirstLineTells)
{
    {
        const OriginChild child(
            Script("echo \"it serves on http://127.0.0.1:4711\"\nexec sleep 1000\n"));
        EXPECT_EQ(child.Address(), "http://127.0.0.1:4711");
    }
    ExpectNoneIsLeft();
}

TEST_F(OriginChildTest, GivesUpWhatNeverTellsItsAddress)
{
    OriginChild::Program program = Script("exec sleep 1000\n");
    program.m_timeToStart = kSoon;
    EXPECT_THROW(OriginChild{program}, CommandError);
    ExpectNoneIsLeft();
}

TEST_F(OriginChildTest, GivesUpWhatTellsSomethingElse)
{
    EXPECT_THROW(OriginChild{Script("echo nonsense\nexec sleep 1000\n")}, CommandError);
    ExpectNoneIsLeft();
}

TEST_F(OriginChildTest, DoesNotWaitForWhatHasDied)
{
    EXPECT_THROW(OriginChild{Script("exit 3\n")}, CommandError);
    ExpectNoneIsLeft();
    OriginChild::Program nobody;
    nobody.m_path = m_folder.File("nobody");
    nobody.m_timeToStart = kForEver;
    EXPECT_THROW(OriginChild{nobody}, CommandError);
    ExpectNoneIsLeft();
}

TEST_F(OriginChildTest, KillsWhatDoesNotEndWhenAskedTo)
{
    OriginChild::Program program =
        Script("trap '' TERM\necho http://127.0.0.1:4711\nexec sleep 1000\n");
    program.m_timeToEnd = kSoon;
    {
        const OriginChild child(program);
    }
    ExpectNoneIsLeft();
    program = Script("trap '' TERM\nexec sleep 1000\n");
    program.m_timeToStart = kSoon;
    program.m_timeToEnd = kSoon;
    EXPECT_THROW(OriginChild{program}, CommandError);
    ExpectNoneIsLeft();
}

TEST_F(OriginChildTest, StartsWhatDiedAgainOnItsPort)
{
    OpenPipe();
    {
        const OriginChild child(Script("echo http://127.0.0.1:4711\n"
                                       "echo \"$2\" > told\n"
                                       "if mkdir second 2>/dev/null; then exit 1; fi\n"
                                       "exec sleep 1000\n"));
        EXPECT_EQ(Told(), "0");
        EXPECT_EQ(Told(), "4711");
        EXPECT_EQ(child.Address(), "http://127.0.0.1:4711");
    }
    ExpectNoneIsLeft();
}

TEST_F(OriginChildTest, TriesAgainWhenTheSecondStartHangs)
{
    OpenPipe();
    OriginChild::Program program = Script("trap '' TERM\n"
                                          "if mkdir first 2>/dev/null; then\n"
                                          "  echo http://127.0.0.1:4711; exit 1\n"
                                          "elif mkdir second 2>/dev/null; then exec sleep 1000\n"
                                          "fi\n"
                                          "echo http://127.0.0.1:4711\n"
                                          "echo third > told\n"
                                          "exec sleep 1000\n");
    program.m_timeToStartAgain = 2s; // one that takes longer is only tried once more
    program.m_timeToEnd = kSoon;
    {
        const OriginChild child(program);
        EXPECT_EQ(Told(), "third");
    }
    ExpectNoneIsLeft();
}

TEST_F(OriginChildTest, LeavesNobodyBehindHoweverTheProgramEnds)
{
    // The host is a process of its own, which threads of other tests have no part in.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    OpenPipe();
    const OriginChild::Program program =
        Script("trap '' TERM\necho http://127.0.0.1:4711\necho $$ > told\nexec sleep 1000\n");
    // Who waits for the child when its parent is gone.
    ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    EXPECT_EXIT(
        {
            const OriginChild child(program);
            static_cast<void>(Told()); // so that the shell has said all it says
            std::filesystem::remove_all(m_folder.Path());
            ::_exit(0);
        },
        testing::ExitedWithCode(0),
        "");
    int status = 0;
    ASSERT_GT(::waitpid(-1, &status, 0), 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    ExpectNoneIsLeft();
    ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

} // namespace
