// SPDX-License-Identifier: MIT
#include "KxFileSizeGuard.h"

#include "KxFile.h"
#include "support/TempFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

namespace KxC {
namespace {

constexpr int kLimit = 100; // bytes

/// How a child process that may write no file beyond kLimit ends; its exit code is `body`'s answer.
template <typename Body>
int StatusUnderLimit(Body&& body)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const rlimit limit{kLimit, kLimit};
        ::signal(SIGXFSZ, SIG_DFL);
        ::_exit(::setrlimit(RLIMIT_FSIZE, &limit) == 0 && body() ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

bool IsPending()
{
    sigset_t pending;
    return ::sigpending(&pending) == 0 && ::sigismember(&pending, SIGXFSZ) == 1;
}

bool IsBlocked()
{
    sigset_t blocked;
    return ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked) == 0 &&
           ::sigismember(&blocked, SIGXFSZ) == 1;
}

void Block()
{
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGXFSZ);
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

class KxFileSizeGuardTest : public testing::Test
{
protected:
    /// Writes at the limit.
    bool IsTooBig() const
    {
        const int file = ::open((m_temp.Path() / "file").c_str(), O_WRONLY | O_CREAT, 0600);
        errno = 0;
        const bool tooBig = ::pwrite(file, "x", 1, kLimit) < 0 && errno == EFBIG;
        ::close(file);
        return tooBig;
    }

    TempFolder m_temp;
};

TEST_F(KxFileSizeGuardTest, WritesBeyondTheLimitKillWithoutOne)
{
    const int status = StatusUnderLimit([this] { return IsTooBig(); });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
}

TEST_F(KxFileSizeGuardTest, MakesThemFailAndLeavesNothingBehind)
{
    EXPECT_EQ(StatusUnderLimit([this] {
                  {
                      const KxFileSizeGuard guard;
                      if (!IsTooBig() || !IsPending())
                          return false;
                      errno = EFBIG;
                  }
                  return errno == EFBIG && !IsPending() && !IsBlocked();
              }),
              0);
}

TEST_F(KxFileSizeGuardTest, MayBeNested)
{
    EXPECT_EQ(StatusUnderLimit([this] {
                  {
                      const KxFileSizeGuard outer;
                      bool tooBig = IsTooBig();
                      {
                          const KxFileSizeGuard inner;
                          tooBig = IsTooBig() && tooBig;
                      }
                      if (!tooBig || !IsBlocked())
                          return false;
                  }
                  return !IsPending() && !IsBlocked();
              }),
              0);
}

TEST_F(KxFileSizeGuardTest, LeavesTheHostsOwnWaitingSignalAlone)
{
    EXPECT_EQ(StatusUnderLimit([this] {
                  Block();
                  ::raise(SIGXFSZ);
                  {
                      const KxFileSizeGuard guard;
                      IsTooBig();
                  }
                  return IsPending() && IsBlocked();
              }),
              0);
}

TEST_F(KxFileSizeGuardTest, LetsAFileBeSavedWholeOrNotAtAll)
{
    const std::string path = (m_temp.Path() / "saved").string();
    EXPECT_EQ(StatusUnderLimit([&path] {
                  const std::vector<unsigned char> bytes(kLimit + 1, 'x');
                  return KxFile::SaveWhole(path.c_str(), bytes.data(), kLimit + 1) == 0 &&
                         errno == EFBIG &&
                         KxFile::SaveWhole(path.c_str(), bytes.data(), kLimit) == 1;
              }),
              0);
    EXPECT_EQ(std::filesystem::file_size(path), 100U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_temp.Path()), {}), 1);
}

} // namespace
} // namespace KxC
