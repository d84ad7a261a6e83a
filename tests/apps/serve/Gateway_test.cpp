// SPDX-License-Identifier: MIT
#include "serve/Gateway.h"

#include "KxNetGetch.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace KxTileHost::Serve;
using namespace std::chrono_literals;

TEST(GatewayOptions, WaitLongerForATileThanItsServiceMayTakeAndForItsAnswerLongerStill)
{
    for (const auto timeout : {400ms, 30000ms, 89999ms, 120000ms, 3600000ms}) {
        GatewayOptions options;
        options.WaitForServices(static_cast<int>(timeout.count()));
        EXPECT_GT(options.m_work.m_wait, timeout);
        EXPECT_GE(options.m_http.m_connections.m_request, options.m_work.m_wait + 30s);
    }
}

TEST(GatewayOptions, WaitLongerThanTheLibraryDoesOfItself)
{
    GatewayOptions options;
    options.WaitForServices(0);
    EXPECT_GT(options.m_work.m_wait, std::chrono::milliseconds(KxC::KxNetGetch::kDefaultTimeoutMs));
}

} // namespace
