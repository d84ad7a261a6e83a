// SPDX-License-Identifier: MIT
#include "RetryingClient.h"

#include "StatusTable.h"

#include <algorithm>
#include <random>
#include <utility>

namespace KxC::Http {

namespace {

constexpr Milliseconds::rep kFirstPauseMs = 200;

bool IsWorthRetrying(const HttpAnswer& answer)
{
    return answer.transient || (answer.complete && IsTransientStatus(answer.status));
}

/// Up to half of the pause, at random.
Milliseconds Jitter(Milliseconds pause)
{
    thread_local std::minstd_rand random{std::random_device{}()};
    return Milliseconds(
        std::uniform_int_distribution<Milliseconds::rep>(0, pause.count() / 2)(random));
}

/// Twice as long after each failure, and never shorter than what the server asks for.
Milliseconds PauseAfter(const HttpAnswer& answer, int failures)
{
    const Milliseconds pause(kFirstPauseMs << (failures - 1));
    // In seconds first: the server's number may be too large for milliseconds.
    const auto wish = std::min<std::chrono::seconds>(
        answer.retryAfter,
        std::chrono::duration_cast<std::chrono::seconds>(RetryingClient::kMaxRetryAfter));
    return std::max<Milliseconds>(pause + Jitter(pause), wish);
}

} // namespace

HttpAnswer RetryingClient::Send(const HttpRequest& request)
{
    int sent = 0;
    for (int tries = 1;; ++tries) {
        HttpAnswer answer = m_inner.Send(request);
        sent += answer.attempts;
        answer.attempts = sent;
        if (tries == kMaxAttempts || !IsWorthRetrying(answer))
            return answer;
        const Milliseconds pause = PauseAfter(answer, tries);
        if (m_clock.Now() + pause >= request.deadline)
            return answer;
        m_clock.Pause(pause);
    }
}

} // namespace KxC::Http
