// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace KxC::Testing {

/// Another's server program, listening on a port of 127.0.0.1 that the system chose; killed with
/// the object.
class ServerProgram
{
public:
    /// Starts the program and waits until it listens.
    /// @param command  program and arguments; they must ask for port 0
    /// @param folder   where it runs
    /// @throws std::runtime_error when the program does not listen
    ServerProgram(const std::vector<std::string>& command, const std::string& folder);
    ~ServerProgram();
    ServerProgram(const ServerProgram&) = delete;
    ServerProgram& operator=(const ServerProgram&) = delete;

    int Port() const { return m_port; }
    /// "https://127.0.0.1:port" and the path.
    std::string Url(const std::string& path) const
    {
        return "https://127.0.0.1:" + std::to_string(m_port) + path;
    }

private:
    bool HasEnded();
    void Stop();

    pid_t m_process = -1;
    int m_port = 0;
};

} // namespace KxC::Testing
