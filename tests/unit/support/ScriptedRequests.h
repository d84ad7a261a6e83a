// SPDX-License-Identifier: MIT
/// Stands in front of the request layer and the earth fetcher: answers what a test scripted,
/// records what was asked, and fails the test on a URL that nobody scripted.
#pragma once

#include "KxNetGetch.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace KxC::Testing {

using Bytes = std::vector<unsigned char>;

struct SentRequest
{
    std::string m_url;
    std::string m_userAgent;
    int m_method;
    int m_fileType;
    int m_requestParam;
    const void* m_requestLines;
};

struct EarthRequest
{
    int m_level;
    int m_row;
    int m_col;
};

struct ScriptedAnswer
{
    NetError m_result;
    Bytes m_body;
};

/// In force while it lives; one at a time. Any thread may ask; what it answers is set before.
class ScriptedRequests
{
public:
    ScriptedRequests();
    ~ScriptedRequests();
    ScriptedRequests(const ScriptedRequests&) = delete;
    ScriptedRequests& operator=(const ScriptedRequests&) = delete;

    void Answer(const std::string& url, NetError result, const Bytes& body = {});
    /// Runs `action` inside every request, before it is answered.
    void DuringRequests(std::function<void()> action) { m_action = std::move(action); }
    void AnswerEarth(NetError result, const Bytes& body = {});

    std::mutex m_lock; ///< guards m_sent
    std::vector<SentRequest> m_sent;
    std::vector<EarthRequest> m_earthSent;
    std::map<std::string, ScriptedAnswer> m_answers;
    ScriptedAnswer m_earthAnswer{NetError_Failure, {}};
    std::function<void()> m_action = [] {};
};

} // namespace KxC::Testing
