// SPDX-License-Identifier: MIT
#pragma once

#include "HttpClient.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace KxC::Http {

/// Sends a request once when several threads ask for the same at once, and gives all of them the
/// answer, be it a failure. The same means: address, agent, header lines and time-out agree.
/// The one who sends began first, so his deadline ends the others' wait too; whoever still waits at
/// his own deadline goes without. Any thread.
class SharingClient final : public HttpClient
{
public:
    explicit SharingClient(HttpClient& inner) : m_inner(inner) {}
    HttpAnswer Send(const HttpRequest& request) override;

    /// How many wait for the answer to such a request; for tests that need them to.
    int WaitersFor(const HttpRequest& request);

private:
    struct Flight;
    class Sender;
    using Flights = std::map<std::string, std::shared_ptr<Flight>>;

    HttpAnswer
    WaitFor(Flight& flight, const HttpRequest& request, std::unique_lock<std::mutex>& lock);

    HttpClient& m_inner;
    std::mutex m_lock; ///< guards the flights, their content too
    Flights m_flights;
};

} // namespace KxC::Http
