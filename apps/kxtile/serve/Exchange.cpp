// SPDX-License-Identifier: MIT
#include "serve/Exchange.h"

#include "serve/MhdRequest.h"
#include "serve/Responses.h"

#include <poll.h>

#include <exception>
#include <utility>

namespace KxTileHost::Serve {

namespace {

using Clock = std::chrono::steady_clock;

} // namespace

Exchange::Exchange(HttpServer::State& state, MHD_Connection* connection)
    : m_state(state), m_connection(connection), m_start(Clock::now())
{
    const std::lock_guard guard(m_state.lock);
    ++m_state.inFlight;
    ++m_state.begun;
    if (!m_state.listens) // whoever waits for the last request has another one
        m_state.changed.notify_all();
}

Exchange::~Exchange()
{
    m_state.handler.NoteDone(m_label,
                             m_status,
                             m_answer.get(),
                             std::chrono::duration<double>(Clock::now() - m_start).count());
    const std::lock_guard guard(m_state.lock);
    if (--m_state.inFlight == 0)
        m_state.changed.notify_all();
}

void Exchange::TakeAnswer(AnswerPtr answer) noexcept
{
    m_answer = std::move(answer);
    m_isAnswered = true;
    HttpServer::State& state = m_state; // the exchange may be gone after the next line
    MHD_resume_connection(m_connection);
    Wake(state);
}

bool Exchange::IsGone() const noexcept
{
    pollfd state{SocketOf(m_connection), POLLRDHUP, 0};
    return ::poll(&state, 1, 0) == 1 && (state.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

MHD_Result Exchange::Proceed(const HttpRequest& request)
{
    if (!m_isAnswered && !Begin(request))
        return MHD_YES; // suspended
    if (m_answer != nullptr && m_dress != nullptr)
        m_answer = m_dress(std::move(m_answer));
    if (m_answer != nullptr)
        m_status = SendAnswer(m_connection,
                              *m_answer,
                              m_state.options.m_serverName,
                              m_state.listens ? Afterwards::KeepAlive : Afterwards::Close);
    return m_status != 0 ? MHD_YES : MHD_NO;
}

/// @return whether there is an answer now
bool Exchange::Begin(const HttpRequest& request)
{
    Outcome outcome = m_state.handler.Handle(request);
    m_label = outcome.m_label;
    m_dress = outcome.m_dress;
    m_isAnswered = true;
    m_answer = std::move(outcome.m_answer);
    if (m_answer != nullptr || !outcome.m_work)
        return true;
    // First, for the work may be done before this returns.
    m_isAnswered = false;
    MHD_suspend_connection(m_connection);
    try {
        const auto admission =
            m_state.pool.Submit(outcome.m_key, outcome.m_lane, std::move(outcome.m_work), *this);
        if (admission == WorkPool::Admission::Full)
            TakeAnswer(BusyAnswer("too many tiles are being made already", 1));
        else if (admission == WorkPool::Admission::Ending)
            TakeAnswer(BusyAnswer("the gateway ends", 1));
    } catch (const std::exception&) {
        TakeAnswer(nullptr);
    }
    return false;
}

} // namespace KxTileHost::Serve
