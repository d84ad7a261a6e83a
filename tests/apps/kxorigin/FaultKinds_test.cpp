// SPDX-License-Identifier: MIT
#include "FaultKinds.h"

#include <gmock/gmock.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

namespace KxOrigin {
namespace {

using std::chrono::milliseconds;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr milliseconds kPlenty{60000};
constexpr std::string_view kBody = "0123456789";

/// A connection whose client is the test.
class FaultKinds : public ::testing::Test
{
protected:
    FaultKinds()
    {
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, m_ends.data()) != 0)
            throw std::runtime_error("no sockets");
        m_tile.contentType = "image/png";
        m_tile.body = std::make_shared<const Bytes>(kBody.begin(), kBody.end());
    }
    ~FaultKinds() override
    {
        CloseServersEnd();
        CloseClientsEnd();
        ::close(m_stopSignal);
    }
    void CloseServersEnd() { Close(m_ends[0]); }
    void CloseClientsEnd() { Close(m_ends[1]); }

    void PlayOn(const std::string& kind, milliseconds allowed = kPlenty)
    {
        std::optional<Fault> fault = ReadKind(kind);
        ASSERT_TRUE(fault) << kind;
        fault->route = "/xyz/marble/0/0/0.png";
        RawSocket socket(m_ends[0], m_stopSignal, allowed);
        Play(socket, *fault, m_tile);
    }
    /// All that the client receives.
    std::string Received(const std::string& kind)
    {
        PlayOn(kind);
        CloseServersEnd();
        std::string text;
        std::array<char, 4096> buffer;
        for (ssize_t count = 0; (count = ::read(m_ends[1], buffer.data(), buffer.size())) > 0;)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        return text;
    }

    std::array<int, 2> m_ends{-1, -1};
    int m_stopSignal = ::eventfd(0, EFD_CLOEXEC);
    Response m_tile;

private:
    static void Close(int& end)
    {
        if (end >= 0)
            ::close(end);
        end = -1;
    }
};

TEST_F(FaultKinds, StatusIsTheNumber)
{
    EXPECT_THAT(Received("status-502"), StartsWith("HTTP/1.1 502 "));
    EXPECT_EQ(502, ReadKind("status-502")->Status());
}

TEST_F(FaultKinds, BusySaysWhenToComeBack)
{
    const std::string text = Received("busy-7");
    EXPECT_THAT(text, StartsWith("HTTP/1.1 503 "));
    EXPECT_THAT(text, HasSubstr("\r\nRetry-After: 7\r\n"));
}

TEST_F(FaultKinds, ShortPromisesAllAndSendsHalf)
{
    const std::string text = Received("short");
    EXPECT_THAT(text, HasSubstr("\r\nContent-Length: 10\r\n"));
    EXPECT_THAT(text, EndsWith("\r\n\r\n01234"));
}

TEST_F(FaultKinds, LongPromisesHalfAndSendsAll)
{
    const std::string text = Received("long");
    EXPECT_THAT(text, HasSubstr("\r\nContent-Length: 5\r\n"));
    EXPECT_THAT(text, EndsWith("\r\n\r\n0123456789"));
}

TEST_F(FaultKinds, LateAndDripSendTheWholeTileInTheEnd)
{
    for (const char* kind : {"late-1", "drip-1"}) {
        RawSocket socket(m_ends[0], m_stopSignal, kPlenty);
        Play(socket, *ReadKind(kind), m_tile);
    }
    const std::string text = Received("drop");
    EXPECT_EQ(text.find("0123456789"), text.find("\r\n\r\n") + 4);
    EXPECT_THAT(text, EndsWith("\r\n\r\n0123456789"));
}

TEST_F(FaultKinds, DropSendsNothing)
{
    EXPECT_EQ("", Received("drop"));
}

TEST_F(FaultKinds, RedirectsLeadNearerToTheTile)
{
    EXPECT_THAT(Received("redirect-3"),
                HasSubstr("\r\nLocation: /fault/redirect-2/always/xyz/marble/0/0/0.png\r\n"));
}

TEST_F(FaultKinds, LastRedirectLeadsToTheTile)
{
    EXPECT_THAT(Received("redirect-1"), HasSubstr("\r\nLocation: /xyz/marble/0/0/0.png\r\n"));
}

TEST_F(FaultKinds, OtherRedirectsLeadAstray)
{
    EXPECT_THAT(Received("to-file"), HasSubstr("\r\nLocation: file:///"));
}

TEST_F(FaultKinds, AbsentClientEndsEverything)
{
    CloseClientsEnd();
    // Each would last far longer than any test may.
    for (const char* kind : {"late-60000", "drip-60000", "gigabyte", "endless", "flood"})
        PlayOn(kind);
}

TEST_F(FaultKinds, StopSignalEndsWhatWaits)
{
    ::eventfd_write(m_stopSignal, 1);
    PlayOn("late-60000");
    PlayOn("gigabyte"); // waits, for nobody reads
    const std::string text = Received("drop");
    EXPECT_THAT(text, Not(HasSubstr("0123456789")));
}

TEST_F(FaultKinds, TimeAllowedEndsEverything)
{
    PlayOn("late-60000", milliseconds(1));
    PlayOn("drip-60000", milliseconds(1));
    PlayOn("gigabyte", milliseconds(1));
}

TEST(FaultKind, TakesNumbersWithinItsBounds)
{
    for (const char* text : {"status-400",
                             "status-599",
                             "busy-0",
                             "busy-86400",
                             "late-1",
                             "late-60000",
                             "drip-60000",
                             "redirect-1",
                             "redirect-20"})
        EXPECT_TRUE(ReadKind(text)) << text;
}

TEST(FaultKind, TakesNoOthers)
{
    for (const char* text : {"status-399",
                             "status-600",
                             "status",
                             "status-",
                             "status-x",
                             "busy--1",
                             "busy-86401",
                             "late-0",
                             "late-60001",
                             "redirect-0",
                             "redirect-21",
                             "drop-1",
                             "dropped",
                             "",
                             "-",
                             "late500"})
        EXPECT_FALSE(ReadKind(text)) << text;
}

} // namespace
} // namespace KxOrigin
