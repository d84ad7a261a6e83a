// SPDX-License-Identifier: MIT
#pragma once

#include "HttpClient.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

namespace KxC::Http {

/// Lets a limited number of requests at a time through to each host; the others wait, at most
/// until their deadline. Any thread.
class HostLimitClient final : public HttpClient
{
public:
    HostLimitClient(HttpClient& inner, int limit) : m_inner(inner), m_limit(limit) {}
    HttpAnswer Send(const HttpRequest& request) override;

    /// @param limit  1 or more; less counts as 1. Requests under way are not touched.
    void SetLimit(int limit);

private:
    class Place;
    /// What goes on with one host. It lives while anyone uses it or waits for it.
    struct Host
    {
        int inFlight = 0;
        int users = 0;
        std::condition_variable freed;
    };
    using Hosts = std::map<std::string, Host>;

    HttpClient& m_inner;
    std::mutex m_lock; ///< guards everything below
    int m_limit;
    Hosts m_hosts;
};

} // namespace KxC::Http
