// SPDX-License-Identifier: MIT
#include "Options.h"

#include <gtest/gtest.h>

#include <vector>

namespace KxOrigin {
namespace {

Options Read(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "kxorigin");
    return ReadOptions(static_cast<int>(arguments.size()), arguments.data());
}

TEST(Options, StartOnLoopbackWithAPortOfTheSystemsChoice)
{
    const Options options = Read({});
    EXPECT_EQ(options.port, 0);
    EXPECT_EQ(options.bind, "127.0.0.1");
    EXPECT_EQ(options.log, "");
    EXPECT_FALSE(options.exitCode);
}

TEST(Options, TakePortAndLog)
{
    const Options options = Read({"--port", "65535", "--log", "-"});
    EXPECT_EQ(options.port, 65535);
    EXPECT_EQ(options.log, "-");
}

TEST(Options, RefuseWhatIsNoPortOrAddress)
{
    for (const char* port : {"65536", "-1", "x", "99999999999999999999"})
        EXPECT_NE(Read({"--port", port}).exitCode.value_or(0), 0) << port;
    EXPECT_NE(Read({"--bind", "localhost"}).exitCode.value_or(0), 0);
    EXPECT_NE(Read({"--unknown"}).exitCode.value_or(0), 0);
}

TEST(Options, HelpAndVersionEndWithSuccess)
{
    EXPECT_EQ(Read({"--help"}).exitCode, 0);
    EXPECT_EQ(Read({"--version"}).exitCode, 0);
}

} // namespace
} // namespace KxOrigin
