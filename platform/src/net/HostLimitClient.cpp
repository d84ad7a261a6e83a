// SPDX-License-Identifier: MIT
#include "HostLimitClient.h"

#include <algorithm>

namespace KxC::Http {

/// A request's place in its host's flight, given back when it goes out of scope.
class HostLimitClient::Place
{
public:
    Place(HostLimitClient& client, const HttpRequest& request) : m_client(client)
    {
        std::unique_lock lock(m_client.m_lock);
        m_entry = m_client.m_hosts.try_emplace(HostOf(request.url)).first;
        ++Of().users;
        m_isTaken = Of().freed.wait_until(
            lock, request.deadline, [this] { return Of().inFlight < m_client.m_limit; });
        if (m_isTaken)
            ++Of().inFlight;
    }
    ~Place()
    {
        const std::lock_guard lock(m_client.m_lock);
        if (m_isTaken) {
            --Of().inFlight;
            Of().freed.notify_one();
        }
        if (--Of().users == 0)
            m_client.m_hosts.erase(m_entry);
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    bool IsTaken() const { return m_isTaken; }

private:
    Host& Of() { return m_entry->second; }

    HostLimitClient& m_client;
    Hosts::iterator m_entry;
    bool m_isTaken = false;
};

HttpAnswer HostLimitClient::Send(const HttpRequest& request)
{
    const Place place(*this, request);
    if (place.IsTaken())
        return m_inner.Send(request);
    HttpAnswer answer;
    answer.cause = "time-out of " + std::to_string(request.timeout.count()) +
                   " ms reached while other requests to host '" + HostOf(request.url) +
                   "' were under way; allow more time or ask for less at once";
    return answer;
}

void HostLimitClient::SetLimit(int limit)
{
    const std::lock_guard lock(m_lock);
    m_limit = std::max(1, limit);
    for (auto& [name, host] : m_hosts)
        host.freed.notify_all();
}

} // namespace KxC::Http
