// SPDX-License-Identifier: MIT
#pragma once

#include "KxNetGetch.h"
#include "KxRawData.h"
#include "support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace KxC::Testing {

/// How a fetch ended, copied out so that later ones do not change it.
struct Fetched
{
    int result = -1;
    std::string body;
    KxNetRequestInfo info;
    std::string Cause() const { return info.m_strCause.Cstr(); }
};

/// What a fetch asks for besides its address.
struct Wish
{
    int timeoutMs = 0;
    KxString userAgent = {};
    std::vector<KxString> lines = {};
};

/// One GET through the library on the calling thread.
Fetched Fetch(const std::string& url, const Wish& wish = {});

/// Every test has a server of its own; a proxy of the environment never stands before it.
class NetTest : public ::testing::Test
{
protected:
    NetTest();
    LoopbackServer m_server;
};

} // namespace KxC::Testing
