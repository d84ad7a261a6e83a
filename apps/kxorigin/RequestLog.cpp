// SPDX-License-Identifier: MIT
#include "RequestLog.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

namespace KxOrigin {

namespace {

int OpenLog(const std::string& path)
{
    if (path.empty())
        return STDERR_FILENO;
    if (path == "-")
        return STDOUT_FILENO;
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "cannot open the log " + path);
    return descriptor;
}

/// The rest is tried again only where a pipe or a signal cut the write short.
void WriteAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return;
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

} // namespace

std::string ToJsonLine(const RequestRecord& record)
{
    nlohmann::ordered_json headers = nlohmann::ordered_json::object();
    for (const auto& [name, value] : record.headers)
        headers[name] = value;
    const nlohmann::ordered_json line{{"method", record.method},
                                      {"path", record.path},
                                      {"status", record.status},
                                      {"bytes", record.bytes},
                                      {"user_agent", record.userAgent},
                                      {"headers", headers},
                                      {"connection", record.connection},
                                      {"ms", record.milliseconds}};
    return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

RequestLog::RequestLog(const std::string& path)
    : m_descriptor(OpenLog(path)), m_owned(!path.empty() && path != "-")
{
}

RequestLog::~RequestLog()
{
    if (m_owned)
        close(m_descriptor);
}

void RequestLog::Write(const RequestRecord& record)
{
    const std::string line = ToJsonLine(record);
    const std::lock_guard lock(m_mutex);
    WriteAll(m_descriptor, line);
}

} // namespace KxOrigin
