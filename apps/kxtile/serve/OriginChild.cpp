// SPDX-License-Identifier: MIT
#include "serve/OriginChild.h"

#include "Command.h"
#include "serve/ProgramFolder.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace KxTileHost::Serve {

namespace {

namespace fs = std::filesystem;

/// Beside the program; in the build tree in a folder of its own.
std::string FindProgram()
{
    const fs::path folder = ProgramFolder();
    for (const fs::path& path : {folder / "kxorigin", folder / "../kxorigin/kxorigin"}) {
        std::error_code error;
        if (fs::is_regular_file(path, error))
            return path.string();
    }
    throw CommandError(kExitFailed,
                       "kxorigin, which the sources that come along are served by, is not beside "
                       "kxtile",
                       "Name a definition, a folder or a raster to serve.");
}

/// In the child: nothing but calls that are safe between fork and exec.
[[noreturn]] void RunProgram(const char* program, int output, pid_t parent)
{
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) // it died before that
        _exit(1);
    dup2(output, STDOUT_FILENO);
    execl(program, program, "--port", "0", "--log", "/dev/null", static_cast<const char*>(nullptr));
    _exit(127);
}

/// The first line that the child writes, without its end.
std::string ReadLine(int input)
{
    std::string line;
    char byte = 0;
    while (line.size() < 1000 && ::read(input, &byte, 1) == 1 && byte != '\n')
        line += byte;
    return line;
}

} // namespace

OriginChild::OriginChild()
{
    const std::string program = FindProgram();
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw CommandError(kExitFailed, "no pipe for kxorigin");
    const pid_t parent = ::getpid();
    m_child = ::fork();
    if (m_child == 0)
        RunProgram(program.c_str(), ends[1], parent);
    ::close(ends[1]);
    const std::string line = ReadLine(ends[0]);
    ::close(ends[0]);
    const std::size_t address = line.find("http://");
    if (address == std::string::npos) {
        Stop();
        ::waitpid(m_child, nullptr, 0);
        throw CommandError(kExitFailed, "'" + program + "' did not start");
    }
    m_address = line.substr(address);
}

OriginChild::~OriginChild()
{
    Stop();
    ::waitpid(m_child, nullptr, 0);
}

void OriginChild::Stop() const noexcept
{
    if (m_child > 0)
        ::kill(m_child, SIGTERM);
}

} // namespace KxTileHost::Serve
