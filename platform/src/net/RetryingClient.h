// SPDX-License-Identifier: MIT
#pragma once

#include "HttpClient.h"

namespace KxC::Http {

/// Tries again what may fare better a moment later: a busy server, a reset, a time-out. Pauses
/// grow and differ between callers, so that those who failed together do not come back together.
/// Any thread.
class RetryingClient final : public HttpClient
{
public:
    static constexpr int kMaxAttempts = 3;
    /// A server that asks for a longer pause is asked again after this one.
    static constexpr Milliseconds kMaxRetryAfter{10000};

    RetryingClient(HttpClient& inner, Clock& clock) : m_inner(inner), m_clock(clock) {}
    HttpAnswer Send(const HttpRequest& request) override;

private:
    HttpClient& m_inner;
    Clock& m_clock;
};

} // namespace KxC::Http
