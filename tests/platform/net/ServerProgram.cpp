// SPDX-License-Identifier: MIT
#include "ServerProgram.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace KxC::Testing {

namespace {

namespace fs = std::filesystem;

/// Inodes of the sockets that a process has open.
std::set<std::string> SocketsOf(pid_t process)
{
    constexpr std::string_view kStart = "socket:[";
    std::set<std::string> inodes;
    std::error_code error;
    const fs::path folder = "/proc/" + std::to_string(process) + "/fd";
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string target = fs::read_symlink(entry->path(), error).string();
        if (target.starts_with(kStart))
            inodes.insert(target.substr(kStart.size(), target.size() - kStart.size() - 1));
        error.clear();
    }
    return inodes;
}

/// The port at which a child process listens over IPv4, 0 while it does not. See proc(5),
/// /proc/net/tcp.
int ListeningPortOf(pid_t process)
{
    std::set<std::string> inodes = SocketsOf(process);
    // Until it has become the other program it holds our own sockets, those of our servers too.
    for (const std::string& ours : SocketsOf(::getpid()))
        inodes.erase(ours);
    std::ifstream table("/proc/net/tcp");
    std::string line;
    std::getline(table, line);
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string slot, local, remote, state, queues, timer, retransmits, user, timeout, inode;
        fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> user >>
            timeout >> inode;
        if (state == "0A" && inodes.contains(inode))
            return std::stoi(local.substr(local.find(':') + 1), nullptr, 16);
    }
    return 0;
}

[[noreturn]] void Become(const std::vector<char*>& arguments, const char* folder)
{
    const int nothing = ::open("/dev/null", O_RDWR);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(nothing, STDOUT_FILENO);
    ::dup2(nothing, STDERR_FILENO);
    if (::chdir(folder) == 0)
        ::execv(arguments.front(), arguments.data());
    ::_exit(127);
}

} // namespace

ServerProgram::ServerProgram(const std::vector<std::string>& command, const std::string& folder)
{
    std::vector<std::string> texts = command;
    std::vector<char*> arguments;
    for (std::string& text : texts)
        arguments.push_back(text.data());
    arguments.push_back(nullptr);
    m_process = ::fork();
    if (m_process < 0)
        throw std::runtime_error("no process");
    if (m_process == 0)
        Become(arguments, folder.c_str());
    while ((m_port = ListeningPortOf(m_process)) == 0) {
        if (HasEnded())
            throw std::runtime_error(command.front() + " did not start");
        std::this_thread::yield();
    }
}

ServerProgram::~ServerProgram()
{
    if (m_process > 0)
        Stop();
}

bool ServerProgram::HasEnded()
{
    if (::waitpid(m_process, nullptr, WNOHANG) != m_process)
        return false;
    m_process = -1;
    return true;
}

void ServerProgram::Stop()
{
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
}

} // namespace KxC::Testing
