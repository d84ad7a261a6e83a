// SPDX-License-Identifier: MIT
#pragma once

#include "serve/HttpState.h"

#include <microhttpd.h>

#include <chrono>

namespace KxTileHost::Serve {

/// A request from its headers to the end of its answer. While work is done for it, its connection
/// is suspended.
class Exchange : public Waiter
{
public:
    Exchange(HttpServer::State& state, MHD_Connection* connection);
    ~Exchange() override;
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    void TakeAnswer(AnswerPtr answer) noexcept override;
    bool IsGone() const noexcept override;

    /// Answers, or begins the work for it; to be called again when the connection resumes.
    /// @return MHD_NO to cut the connection
    MHD_Result Proceed(const HttpRequest& request);

private:
    bool Begin(const HttpRequest& request);

    HttpServer::State& m_state;
    MHD_Connection* m_connection;
    std::chrono::steady_clock::time_point m_start;
    const char* m_label = "other";
    AnswerPtr (*m_dress)(AnswerPtr) = nullptr; ///< of Outcome
    AnswerPtr m_answer;
    bool m_isAnswered = false;
    int m_status = 0; ///< that was sent
};

} // namespace KxTileHost::Serve
