// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace KxOrigin {

/// One request and the answer it got.
struct RequestRecord
{
    std::string method;
    std::string path; ///< as it came, with the query
    int status = 0;
    std::size_t bytes = 0; ///< of the body that a GET gets
    std::string userAgent;
    std::vector<std::pair<std::string, std::string>> headers; ///< Accept and X-...
    std::uint64_t connection = 0;                             ///< counts from 1
    double milliseconds = 0; ///< from the request line to the finished answer
};

/// The record as one line of JSON with its line end. Bytes that are not UTF-8 become U+FFFD.
std::string ToJsonLine(const RequestRecord& record);

/// Writes each record with one call, so that lines of several processes and threads stay whole.
/// Safe for several threads.
class RequestLog
{
public:
    /// @param path  file to append to; "-" for the standard output, empty for the standard error
    /// @throws std::system_error when the file does not open
    explicit RequestLog(const std::string& path);
    ~RequestLog();
    RequestLog(const RequestLog&) = delete;
    RequestLog& operator=(const RequestLog&) = delete;

    /// The line is in the file when this returns. A log that cannot be written is left behind
    /// silently: requests matter more.
    void Write(const RequestRecord& record);

private:
    int m_descriptor;
    bool m_owned;
    std::mutex m_mutex;
};

} // namespace KxOrigin
