// SPDX-License-Identifier: MIT
#pragma once

#include "HttpClient.h"

#include <chrono>
#include <functional>
#include <utility>
#include <vector>

namespace KxC::Http {

/// A clock whose pauses take no time: they are noted, and `Now` moves on by them.
class FakeClock final : public Clock
{
public:
    TimePoint Now() const override { return m_now; }
    void Pause(Milliseconds duration) override
    {
        m_pauses.push_back(duration);
        m_now += duration;
    }
    const std::vector<Milliseconds>& Pauses() const { return m_pauses; }

private:
    TimePoint m_now = std::chrono::steady_clock::now();
    std::vector<Milliseconds> m_pauses;
};

/// A client that answers by a function of the test's.
class FakeClient final : public HttpClient
{
public:
    using Answerer = std::function<HttpAnswer(const HttpRequest&)>;
    explicit FakeClient(Answerer answerer) : m_answerer(std::move(answerer)) {}
    HttpAnswer Send(const HttpRequest& request) override { return m_answerer(request); }

private:
    Answerer m_answerer;
};

inline HttpAnswer AnswerOf(int status)
{
    HttpAnswer answer;
    answer.attempts = 1;
    answer.status = status;
    answer.complete = true;
    return answer;
}

inline HttpRequest RequestTo(const std::string& url,
                             Milliseconds timeout = std::chrono::seconds(30),
                             TimePoint now = std::chrono::steady_clock::now())
{
    HttpRequest request;
    request.url = url;
    request.userAgent = "Test/1";
    request.timeout = timeout;
    request.deadline = now + timeout;
    return request;
}

} // namespace KxC::Http
