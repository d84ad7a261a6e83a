// SPDX-License-Identifier: MIT
#include "serve/OriginChild.h"

#include "Command.h"
#include "serve/ProgramFolder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

namespace KxTileHost::Serve {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kLongestLine = 1000;
constexpr std::chrono::milliseconds kShortPause{200};
constexpr std::chrono::milliseconds kLongPause{30000};

/// In the child: nothing but calls that are safe between fork and exec.
[[noreturn]] void RunProgram(const char* program, const char* port, int output, pid_t parent)
{
    // A group of its own: a terminal's Ctrl-C is the gateway's, which ends what is under way first.
    setpgid(0, 0);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    // Not asked to, for then nobody is left who would see to it that it does end.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) // it died before that
        _exit(1);
    dup2(output, STDOUT_FILENO);
    execl(
        program, program, "--port", port, "--log", "/dev/null", static_cast<const char*>(nullptr));
    _exit(127);
}

/// The first line that the child writes, without its end; what there is of it when the time is up.
std::string ReadLine(int input, std::chrono::milliseconds time)
{
    const auto end = Clock::now() + time;
    std::string line;
    char byte = 0;
    while (line.size() < kLongestLine) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        pollfd ready{input, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&ready, 1, static_cast<int>(left.count())) <= 0)
            break;
        if (::read(input, &byte, 1) != 1 || byte == '\n')
            break;
        line += byte;
    }
    return line;
}

/// Waits for a child that was asked to end, and ends it when it does not.
void AwaitEnd(pid_t child, std::chrono::milliseconds time)
{
    for (const auto end = Clock::now() + time; Clock::now() < end;
         std::this_thread::sleep_for(10ms))
        if (::waitpid(child, nullptr, WNOHANG) != 0)
            return;
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

} // namespace

/// In the build tree it lies in a folder of its own.
OriginChild::Program OriginChild::FindProgram()
{
    const fs::path folder = ProgramFolder();
    for (const fs::path& path : {folder / "kxorigin", folder / "../kxorigin/kxorigin"}) {
        std::error_code error;
        if (fs::is_regular_file(path, error)) {
            Program program;
            program.m_path = path.string();
            return program;
        }
    }
    throw CommandError(kExitFailed,
                       "kxorigin, which the sources that come along are served by, is not beside "
                       "kxtile",
                       "Name a definition, a folder or a raster to serve.");
}

OriginChild::OriginChild(Program program) : m_program(std::move(program))
{
    std::unique_lock guard(m_lock);
    m_address = Start("0", m_program.m_timeToStart, guard);
    if (m_address.empty()) {
        if (m_child > 0) {
            ::kill(m_child, SIGTERM);
            AwaitEnd(m_child, m_program.m_timeToEnd);
        }
        throw CommandError(kExitFailed, "'" + m_program.m_path + "' did not start");
    }
    m_watch = std::thread([this] { Watch(); });
}

OriginChild::~OriginChild()
{
    {
        const std::lock_guard guard(m_lock);
        m_ends = true; // from here on none is started
    }
    Stop();
    m_changed.notify_all();
    m_watch.join();
    if (m_child > 0)
        AwaitEnd(m_child, m_program.m_timeToEnd);
}

/// @param guard  of m_lock; left for as long as the program takes to answer
/// @return its address, empty when it does not answer
std::string OriginChild::Start(const std::string& port,
                               std::chrono::milliseconds time,
                               std::unique_lock<std::mutex>& guard)
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return "";
    const pid_t parent = ::getpid();
    m_child = ::fork();
    if (m_child == 0)
        RunProgram(m_program.m_path.c_str(), port.c_str(), ends[1], parent);
    ::close(ends[1]);
    guard.unlock();
    const std::string line = ReadLine(ends[0], time);
    ::close(ends[0]);
    guard.lock();
    const std::size_t address = line.find("http://");
    return address == std::string::npos ? "" : line.substr(address);
}

/// It may be killed by hand, or by a system that is short of memory.
void OriginChild::Watch()
{
    auto pause = kShortPause;
    std::unique_lock guard(m_lock);
    while (!m_changed.wait_for(guard, pause, [this] { return m_ends; })) {
        if (m_child > 0 && ::waitpid(m_child, nullptr, WNOHANG) != m_child)
            continue;
        m_child = -1;
        if (pause == kShortPause)
            fmt::print(stderr, "kxtile: kxorigin has ended; it is started again\n");
        pause = StartAgain(guard) ? kShortPause : std::min(2 * pause, kLongPause);
    }
}

/// @return false when it does not answer; then it is ended, and waited for like one that died
bool OriginChild::StartAgain(std::unique_lock<std::mutex>& guard)
{
    if (m_ends)
        return true;
    const std::string port = m_address.substr(m_address.rfind(':') + 1);
    if (Start(port, m_program.m_timeToStartAgain, guard) == m_address)
        return true;
    if (m_child > 0)
        ::kill(m_child, SIGKILL);
    return false;
}

void OriginChild::Stop() const noexcept
{
    const std::lock_guard guard(m_lock);
    if (m_child > 0)
        ::kill(m_child, SIGTERM);
}

} // namespace KxTileHost::Serve
