// SPDX-License-Identifier: MIT
#include "NetTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace KxC::Testing {

using KxNetGetchThreads = NetTest;

TEST_F(KxNetGetchThreads, EachGetsItsOwnAnswerAndInfo)
{
    constexpr int kThreads = 8;
    constexpr int kRequests = 20;
    m_server.On("/echo/", [](LoopbackConnection& connection, const LoopbackRequest& request) {
        connection.Send(AnswerText(200, request.target));
    });
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([this, thread] {
            for (int i = 0; i < kRequests; ++i) {
                const std::string path =
                    "/echo/" + std::to_string(thread) + "/" + std::to_string(i);
                const Fetched fetched = Fetch(m_server.Url(path));
                EXPECT_EQ(path, fetched.body);
                EXPECT_EQ(m_server.Url(path), fetched.info.m_strUrl.Cstr());
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(kThreads * kRequests, m_server.RequestCount());
    EXPECT_EQ(kThreads, m_server.ConnectionCount());
}

TEST_F(KxNetGetchThreads, AtMostEightRequestsGoToOneHost)
{
    std::mutex lock;
    int inFlight = 0;
    int most = 0;
    Gate& gate = m_server.MakeGate();
    m_server.On("/held/", [&](LoopbackConnection& connection, const LoopbackRequest&) {
        {
            const std::lock_guard guard(lock);
            most = std::max(most, ++inFlight);
        }
        gate.Wait();
        {
            const std::lock_guard guard(lock);
            --inFlight;
        }
        connection.Send(AnswerText(200, "tile"));
    });
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 12; ++thread)
        threads.emplace_back([this, thread] {
            EXPECT_EQ("tile", Fetch(m_server.Url("/held/" + std::to_string(thread))).body);
        });
    m_server.WaitForRequests(8);
    gate.Open();
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(12, m_server.RequestCount());
    EXPECT_LE(most, 8);
}

TEST_F(KxNetGetchThreads, OneThreadsInfoIsNotAnothers)
{
    Fetch(m_server.Url("/gone"));
    std::thread([] {
        EXPECT_TRUE(KxC::KxNetGetch::GetLastRequestInfo().m_strUrl.IsEmpty());
        Fetch("ftp://elsewhere/");
    }).join();
    EXPECT_EQ(404, KxC::KxNetGetch::GetLastRequestInfo().m_nHttpStatus);
}

} // namespace KxC::Testing
