// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>
#include <sys/types.h>

#include <string>
#include <vector>

namespace KxC::Testing {

/// A kxorigin of the test's own, on a port that the system chose; stopped with the object.
class OriginProcess
{
public:
    OriginProcess();
    ~OriginProcess();
    OriginProcess(const OriginProcess&) = delete;
    OriginProcess& operator=(const OriginProcess&) = delete;

    /// "http://127.0.0.1:PORT" and the path.
    std::string Url(const std::string& path) const { return m_address + path; }
    const std::string& Address() const { return m_address; }

    /// The requests it has answered, as it logged them.
    std::vector<nlohmann::json> Requests() const;

private:
    /// Ends the process and removes its log.
    /// @return its wait status
    int Stop();

    std::string m_logPath;
    std::string m_address;
    pid_t m_process = -1;
};

} // namespace KxC::Testing
