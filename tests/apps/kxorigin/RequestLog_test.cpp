// SPDX-License-Identifier: MIT
#include "RequestLog.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>

namespace KxOrigin {
namespace {

RequestRecord Record()
{
    return {"GET", "/xyz/marble/0/0/0.png", 200, 1234, "KxTile/0.1.0", {{"X-A", "1"}}, 7, 0.5};
}

TEST(RequestLog, ARecordIsOneLineOfJson)
{
    const std::string line = ToJsonLine(Record());
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    const auto json = nlohmann::json::parse(line);
    EXPECT_EQ(json["method"], "GET");
    EXPECT_EQ(json["path"], "/xyz/marble/0/0/0.png");
    EXPECT_EQ(json["status"], 200);
    EXPECT_EQ(json["bytes"], 1234);
    EXPECT_EQ(json["user_agent"], "KxTile/0.1.0");
    EXPECT_EQ(json["headers"]["X-A"], "1");
    EXPECT_EQ(json["connection"], 7);
    EXPECT_EQ(json["ms"], 0.5);
}

TEST(RequestLog, BytesThatAreNotTextDoNotBreakTheLine)
{
    RequestRecord record = Record();
    record.userAgent = "\xff\xfe\n\"";
    const std::string line = ToJsonLine(record);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    EXPECT_EQ(nlohmann::json::parse(line)["user_agent"], "\uFFFD\uFFFD\n\"");
}

TEST(RequestLog, LinesOfSeveralThreadsStayWhole)
{
    const auto path = std::filesystem::temp_directory_path() /
                      ("kxorigin-log-" + std::to_string(getpid()) + ".jsonl");
    {
        RequestLog log(path.string());
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([&log] {
                for (int i = 0; i < 100; ++i)
                    log.Write(Record());
            });
    }
    std::ifstream file(path);
    int lines = 0;
    for (std::string line; std::getline(file, line); ++lines)
        EXPECT_TRUE(nlohmann::json::accept(line));
    EXPECT_EQ(lines, 400);
    std::filesystem::remove(path);
}

TEST(RequestLog, SaysWhenTheFileDoesNotOpen)
{
    EXPECT_THROW(RequestLog("/nowhere/at/all/log"), std::system_error);
}

} // namespace
} // namespace KxOrigin
