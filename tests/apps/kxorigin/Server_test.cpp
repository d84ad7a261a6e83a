// SPDX-License-Identifier: MIT
#include "Server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace KxOrigin {
namespace {

/// Sends bytes to a port of this machine and returns all that comes back until the end.
std::string Exchange(std::uint16_t port, const std::string& request)
{
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::string answer;
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        send(descriptor, request.data(), request.size(), MSG_NOSIGNAL) ==
            static_cast<ssize_t>(request.size())) {
        char buffer[4096];
        for (ssize_t got = 0; (got = recv(descriptor, buffer, sizeof buffer, 0)) > 0;)
            answer.append(buffer, static_cast<std::size_t>(got));
    }
    close(descriptor);
    return answer;
}

class ServerTest : public testing::Test
{
protected:
    ~ServerTest() override { std::filesystem::remove(m_logPath); }

    std::string Ask(const std::string& method, const std::string& target, std::string headers = "")
    {
        return Exchange(m_server.Port(),
                        method + " " + target + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n" +
                            headers + "\r\n");
    }

    std::vector<nlohmann::json> LogLines() const
    {
        std::ifstream file(m_logPath);
        std::vector<nlohmann::json> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(nlohmann::json::parse(line));
        return lines;
    }

    std::string m_logPath = (std::filesystem::temp_directory_path() /
                             ("kxorigin-server-" + std::to_string(getpid()) + ".jsonl"))
                                .string();
    Service m_service{Pixels(8, 4)};
    RequestLog m_log{m_logPath};
    Server m_server{m_service, m_log, "127.0.0.1", 0};
};

std::string BodyOf(const std::string& answer)
{
    const std::size_t end = answer.find("\r\n\r\n");
    return end == std::string::npos ? "" : answer.substr(end + 4);
}

TEST_F(ServerTest, SendsATile)
{
    const std::string answer = Ask("GET", "/xyz/graticule/0/0/0.png");
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 "));
    EXPECT_NE(answer.find("Content-Type: image/png\r\n"), std::string::npos);
    EXPECT_TRUE(BodyOf(answer).starts_with("\x89PNG"));
}

TEST_F(ServerTest, HeadHasTheLengthWithoutTheBody)
{
    const std::string whole = BodyOf(Ask("GET", "/xyz/graticule/0/0/0.png"));
    const std::string head = Ask("HEAD", "/xyz/graticule/0/0/0.png");
    EXPECT_NE(head.find("Content-Length: " + std::to_string(whole.size()) + "\r\n"),
              std::string::npos);
    EXPECT_EQ(BodyOf(head), "");
}

TEST_F(ServerTest, OtherMethodsGet405AndTheAllowedOnes)
{
    for (const char* method : {"POST", "PUT", "DELETE"}) {
        const std::string answer = Ask(method, "/xyz/graticule/0/0/0.png", "Content-Length: 0\r\n");
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 405 ")) << answer;
        EXPECT_NE(answer.find("Allow: GET, HEAD\r\n"), std::string::npos);
    }
}

TEST_F(ServerTest, AnUploadIsReadAndRefused)
{
    const std::string upload(100000, 'x');
    const std::string answer = Ask("POST", "/", "Content-Length: 100000\r\n\r\n" + upload);
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 405 ")) << answer.substr(0, 100);
}

TEST_F(ServerTest, NoContentHasNeitherBodyNorType)
{
    const std::string answer = Ask("GET", "/status/204/any/thing");
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 204 "));
    EXPECT_EQ(answer.find("Content-Type"), std::string::npos);
    EXPECT_EQ(BodyOf(answer), "");
}

TEST_F(ServerTest, HeadersOpenTheGuardedRoutes)
{
    EXPECT_TRUE(Ask("GET", "/key/graticule/0/0/0.png").starts_with("HTTP/1.1 403 "));
    EXPECT_TRUE(Ask("GET", "/key/graticule/0/0/0.png", "x-api-key: let-me-in\r\n")
                    .starts_with("HTTP/1.1 200 "));
    EXPECT_TRUE(Ask("GET", "/agent/graticule/0/0/0.png", "User-Agent: KxTile/1\r\n")
                    .starts_with("HTTP/1.1 200 "));
    EXPECT_TRUE(Ask("GET", "/agent-is/a%2Fb%20c/graticule/0/0/0.png", "User-Agent: a/b c\r\n")
                    .starts_with("HTTP/1.1 200 "));
}

TEST_F(ServerTest, AnEncodedSlashStaysInsideItsPart)
{
    EXPECT_TRUE(Ask("GET", "/xyz/graticule/0/0%2F0.png").starts_with("HTTP/1.1 400 "));
    EXPECT_TRUE(Ask("GET", "/xyz%2Fgraticule/0/0/0.png").starts_with("HTTP/1.1 404 "));
}

TEST_F(ServerTest, HostileRequestsGetARefusal)
{
    EXPECT_TRUE(Ask("GET", "/" + std::string(3000, 'x')).starts_with("HTTP/1.1 414 "));
    EXPECT_TRUE(Ask("GET", "/xyz/marble/" + std::string(1000, '9') + "/0/0.png")
                    .starts_with("HTTP/1.1 404 "));
    // What is no HTTP, or does not fit the connection's memory, may lose its connection without an
    // answer; the next client does not notice.
    Ask("GET", "/" + std::string(100000, 'x'));
    Exchange(m_server.Port(), "nonsense\r\n\r\n");
    EXPECT_TRUE(Ask("GET", "/status/410").starts_with("HTTP/1.1 410 "));
}

TEST_F(ServerTest, TheLogHasTheLineOfEveryAnswer)
{
    const std::string body =
        BodyOf(Ask("GET",
                   "/server/b/graticule/0/0/0.png?token=1",
                   "User-Agent: tester\r\nAccept: image/*\r\nX-One: 1\r\nCookie: secret\r\n"));
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0]["method"], "GET");
    EXPECT_EQ(lines[0]["path"], "/server/b/graticule/0/0/0.png?token=1");
    EXPECT_EQ(lines[0]["status"], 200);
    EXPECT_EQ(lines[0]["bytes"], body.size());
    EXPECT_EQ(lines[0]["user_agent"], "tester");
    EXPECT_EQ(lines[0]["headers"], (nlohmann::json{{"Accept", "image/*"}, {"X-One", "1"}}));
    EXPECT_GE(lines[0]["ms"].get<double>(), 0);
}

TEST_F(ServerTest, TheLogTellsConnectionsApart)
{
    const std::string keepAlive = "GET /status/404 HTTP/1.1\r\nHost: x\r\n\r\n";
    const std::string last = "GET /status/404 HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n";
    Exchange(m_server.Port(), keepAlive + last);
    Exchange(m_server.Port(), last);
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0]["connection"], lines[1]["connection"]);
    EXPECT_NE(lines[1]["connection"], lines[2]["connection"]);
}

TEST_F(ServerTest, ManyClientsAtOnceGetTheirOwnTiles)
{
    std::vector<std::string> expected;
    for (int column = 0; column < 4; ++column)
        expected.push_back(
            BodyOf(Ask("GET", "/xyz/graticule/2/" + std::to_string(column) + "/1.png")));
    std::vector<std::jthread> clients;
    for (int client = 0; client < 8; ++client)
        clients.emplace_back([&, client] {
            for (int i = 0; i < 16; ++i) {
                const int column = (client + i) % 4;
                const std::string path = "/xyz/graticule/2/" + std::to_string(column) + "/1.png";
                EXPECT_EQ(BodyOf(Ask("GET", path)), expected[static_cast<std::size_t>(column)]);
            }
        });
}

TEST_F(ServerTest, ATakenPortIsAnError)
{
    EXPECT_THROW(Server(m_service, m_log, "127.0.0.1", m_server.Port()), std::runtime_error);
    EXPECT_THROW(Server(m_service, m_log, "localhost", 0), std::runtime_error);
}

} // namespace
} // namespace KxOrigin
