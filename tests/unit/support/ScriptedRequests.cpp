// SPDX-License-Identifier: MIT
#include "ScriptedRequests.h"

#include "KxGeFetcher.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace KxC {

namespace Testing {

namespace {

ScriptedRequests* g_current = nullptr;

NetError Give(const ScriptedAnswer& answer, KxRawData& data)
{
    if (!answer.m_body.empty()) {
        auto* copy = static_cast<unsigned char*>(std::malloc(answer.m_body.size()));
        std::memcpy(copy, answer.m_body.data(), answer.m_body.size());
        data.Attach(copy, static_cast<unsigned>(answer.m_body.size()));
    }
    return answer.m_result;
}

} // namespace

ScriptedRequests::ScriptedRequests()
{
    g_current = this;
}

ScriptedRequests::~ScriptedRequests()
{
    g_current = nullptr;
}

void ScriptedRequests::Answer(const std::string& url, NetError result, const Bytes& body)
{
    m_answers[url] = {result, body};
}

void ScriptedRequests::AnswerEarth(NetError result, const Bytes& body)
{
    m_earthAnswer = {result, body};
}

} // namespace Testing

NetError KxNetGetch::RequestData(KxRawData& data,
                                 const KxString& url,
                                 const KxString& body,
                                 const KxString& referer,
                                 int method,
                                 int fileType,
                                 int requestParam,
                                 const KxString& userAgent,
                                 const KxArray<KxString>* requestLines)
{
    using namespace Testing;
    EXPECT_NE(g_current, nullptr) << "no request was expected: " << url.Cstr();
    EXPECT_TRUE(body.IsEmpty() && referer.IsEmpty());
    if (g_current == nullptr)
        return NetError_Failure;
    {
        const std::lock_guard lock(g_current->m_lock);
        g_current->m_sent.push_back(
            {url.Cstr(), userAgent.Cstr(), method, fileType, requestParam, requestLines});
    }
    g_current->m_action();
    const auto found = g_current->m_answers.find(url.Cstr());
    if (found == g_current->m_answers.end()) {
        ADD_FAILURE() << "unscripted URL " << url.Cstr();
        return NetError_Failure;
    }
    return Give(found->second, data);
}

NetError KxGeFetcher::FetchImageRawData(
    KxRawData& data, int level, int row, int col, KxString& /*info*/, int option)
{
    using namespace Testing;
    EXPECT_EQ(option, 0);
    if (g_current == nullptr) {
        ADD_FAILURE() << "no earth request was expected";
        return NetError_Failure;
    }
    g_current->m_earthSent.push_back({level, row, col});
    return Give(g_current->m_earthAnswer, data);
}

} // namespace KxC
