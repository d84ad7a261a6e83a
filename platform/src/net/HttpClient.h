// SPDX-License-Identifier: MIT
#pragma once

#include "Clock.h"
#include "MallocBuffer.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KxC::Http {

/// One GET. Everything in it has been checked: the scheme, and that no text holds line ends.
struct HttpRequest
{
    std::string url;
    std::string userAgent;                ///< empty when `headerLines` name one
    std::vector<std::string> headerLines; ///< "Name: value" or "Name:"
    Milliseconds timeout{0};              ///< as asked for; what `deadline` was made of
    TimePoint deadline;                   ///< when the request must have ended, retries included
};

/// How a transfer ended. `status` tells the server's word, `cause` whether it counts.
struct HttpAnswer
{
    int status = 0;         ///< of the last answer, 0 when none came
    int httpVersion = 0;    ///< ten times the number: 10, 11 or 20; 0 when none came
    bool complete = false;  ///< the whole answer arrived, or as much of it as its status needs
    bool transient = false; ///< broken off in a way that another try may mend
    bool unreached = false; ///< no connection to the server that may be trusted came to stand
    MallocBuffer body;      ///< empty unless complete with a 2xx status
    std::uint64_t bytesReceived = 0;
    std::string contentType;
    std::string cause;                  ///< what broke, in words; empty when complete
    std::chrono::seconds retryAfter{0}; ///< the server's wish, 0 when it has none
    int attempts = 0;                   ///< requests sent

    /// The same answer once more, the body copied.
    /// @throws std::bad_alloc when there is no memory for it
    HttpAnswer Copy() const;
};

/// Sends a request and waits for its answer. Layers wrap each other, each with one duty.
/// Any thread. Throws nothing but std::bad_alloc.
class HttpClient
{
public:
    virtual ~HttpClient() = default;
    virtual HttpAnswer Send(const HttpRequest& request) = 0;
};

/// Host and port of an address in lower case, without user and password.
std::string HostOf(std::string_view url);

} // namespace KxC::Http
