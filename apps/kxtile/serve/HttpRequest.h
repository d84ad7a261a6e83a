// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Answer.h"
#include "serve/WorkPool.h"

#include <string>
#include <string_view>

namespace KxTileHost::Serve {

/// What of an HTTP request decides its answer. Valid while it is handled.
class HttpRequest
{
public:
    virtual ~HttpRequest() = default;
    std::string_view m_method;
    std::string_view m_path; ///< as it came, percent sequences and all, without the query

    /// The value of a query's parameter, decoded; empty when it is not there.
    virtual std::string Query(const char* name) const = 0;
    /// Null when it is not there.
    virtual const char* Header(const char* name) const = 0;
    /// The address of this machine that the request came to, without port; empty when not known.
    virtual std::string LocalAddress() const = 0;
    /// The same as a Host header would have it, with brackets and port.
    virtual std::string LocalHost() const = 0;
    /// Whether somebody else may read another request in it: it names several hosts, or its length
    /// in two ways.
    virtual bool IsAmbiguous() const = 0;
};

/// What becomes of a request: an answer at once, or work.
struct Outcome
{
    AnswerPtr m_answer;
    std::string m_key; ///< as for WorkPool
    std::string m_lane;
    WorkPool::Work m_work;
    /// Dresses the answer of either kind for who asked; null where it is sent as it is. Work is
    /// shared with others, who may want its answer dressed in another way.
    AnswerPtr (*m_dress)(AnswerPtr) = nullptr;
    const char* m_label = "other"; ///< what was asked for, in a word of few
};

/// Answers requests. Any thread; never waits.
class RequestHandler
{
public:
    virtual ~RequestHandler() = default;
    virtual Outcome Handle(const HttpRequest& request) = 0;
    /// A request has ended.
    /// @param label  the outcome's
    /// @param status   that was sent; 0 when nothing was
    /// @param answer   null when there was none
    virtual void
    NoteDone(const char* label, int status, const Answer* answer, double seconds) noexcept = 0;
};

} // namespace KxTileHost::Serve
