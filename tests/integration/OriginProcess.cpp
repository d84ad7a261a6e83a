// SPDX-License-Identifier: MIT
#include "OriginProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace KxC::Testing {

namespace {

std::string NewLogPath()
{
    std::string path = (std::filesystem::temp_directory_path() / "kxorigin-log-XXXXXX").string();
    ::close(::mkstemp(path.data()));
    return path;
}

/// What the service prints when it is ready: the last word of its one line. Empty when it ends.
std::string ReadAddress(int pipe)
{
    std::FILE* const stream = ::fdopen(pipe, "r");
    std::array<char, 256> line{};
    const bool read = std::fgets(line.data(), static_cast<int>(line.size()), stream) != nullptr;
    std::fclose(stream);
    const std::string text(line.data());
    const std::size_t start = text.find("http://");
    if (!read || start == std::string::npos)
        return {};
    return text.substr(start, text.find_last_not_of('\n') + 1 - start);
}

} // namespace

OriginProcess::OriginProcess() : m_logPath(NewLogPath())
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): before the test starts threads
    ::setenv("no_proxy", "127.0.0.1", 1);
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    m_process = ::fork();
    if (m_process < 0)
        throw std::runtime_error("no process");
    if (m_process == 0) {
        ::dup2(pipe[1], STDOUT_FILENO);
        ::execl(KXORIGIN_PROGRAM, "kxorigin", "--port", "0", "--log", m_logPath.c_str(), nullptr);
        ::_exit(127);
    }
    ::close(pipe[1]);
    m_address = ReadAddress(pipe[0]);
    if (m_address.empty()) {
        Stop();
        throw std::runtime_error("kxorigin did not start");
    }
}

OriginProcess::~OriginProcess()
{
    const int status = Stop();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "kxorigin ended with " << status;
}

int OriginProcess::Stop()
{
    ::kill(m_process, SIGTERM);
    int status = 0;
    ::waitpid(m_process, &status, 0);
    std::filesystem::remove(m_logPath);
    return status;
}

std::vector<nlohmann::json> OriginProcess::Requests() const
{
    std::vector<nlohmann::json> requests;
    std::ifstream log(m_logPath);
    for (std::string line; std::getline(log, line);)
        requests.push_back(nlohmann::json::parse(line));
    return requests;
}

} // namespace KxC::Testing
