// SPDX-License-Identifier: MIT
#include "FaultKinds.h"

#include "Paths.h"

#include <array>
#include <chrono>

namespace KxOrigin {

namespace {

using std::chrono::milliseconds;

constexpr std::int64_t kGigabyte = std::int64_t{1} << 30;
constexpr std::int64_t kLongestPauseMs = 60000;

std::string_view BodyOf(const Response& tile)
{
    return {reinterpret_cast<const char*>(tile.body->data()), tile.body->size()};
}

std::string_view HalfOf(const Response& tile)
{
    return BodyOf(tile).substr(0, tile.body->size() / 2);
}

std::string Head(int status, std::string_view lines)
{
    std::string head = "HTTP/1.1 " + std::to_string(status) + " As asked\r\nConnection: close\r\n";
    head += lines;
    return head += "\r\n";
}

std::string TileHead(const Response& tile, std::size_t length)
{
    return Head(200,
                "Content-Type: " + tile.contentType +
                    "\r\nContent-Length: " + std::to_string(length) + "\r\n");
}

void SendRedirect(RawSocket& socket, const std::string& place)
{
    socket.Send(Head(302, "Content-Length: 0\r\nLocation: " + place + "\r\n"));
}

/// Sends the same bytes until a gigabyte is out or the client has had enough.
void SendGigabyteOf(RawSocket& socket, std::string_view piece)
{
    std::string pieces;
    while (pieces.size() < 65536)
        pieces += piece;
    const auto size = static_cast<std::int64_t>(pieces.size());
    for (std::int64_t sent = 0; sent < kGigabyte && socket.Send(pieces); sent += size) {
    }
}

void PlayStatus(RawSocket& socket, const Fault& fault, const Response&)
{
    socket.Send(Head(fault.Status(), "Content-Length: 14\r\n") + "as you wished\n");
}

void PlayBusy(RawSocket& socket, const Fault& fault, const Response&)
{
    const std::string wish = "Retry-After: " + std::to_string(fault.number) + "\r\n";
    socket.Send(Head(fault.Status(), "Content-Length: 0\r\n" + wish));
}

void PlayShort(RawSocket& socket, const Fault&, const Response& tile)
{
    socket.Send(TileHead(tile, tile.body->size()).append(HalfOf(tile)));
}

void PlayLong(RawSocket& socket, const Fault&, const Response& tile)
{
    socket.Send(TileHead(tile, tile.body->size() / 2).append(BodyOf(tile)));
}

void PlayLate(RawSocket& socket, const Fault& fault, const Response& tile)
{
    if (socket.Pause(milliseconds(fault.number)))
        socket.Send(TileHead(tile, tile.body->size()).append(BodyOf(tile)));
}

void PlayDrip(RawSocket& socket, const Fault& fault, const Response& tile)
{
    const std::string_view body = BodyOf(tile);
    bool goesOn = socket.Send(TileHead(tile, body.size()));
    for (std::size_t i = 0; goesOn && i < body.size(); ++i)
        goesOn = socket.Send(body.substr(i, 1)) && socket.Pause(milliseconds(fault.number));
}

void PlayDrop(RawSocket&, const Fault&, const Response&) {}

void PlayReset(RawSocket& socket, const Fault&, const Response& tile)
{
    if (socket.Send(TileHead(tile, tile.body->size()).append(HalfOf(tile))) && socket.Drain())
        socket.Reset();
}

void PlayRedirect(RawSocket& socket, const Fault& fault, const Response&)
{
    if (fault.number == 1)
        return SendRedirect(socket, fault.route);
    const std::string times =
        fault.times == Fault::kAlways ? "always" : std::to_string(fault.times);
    SendRedirect(socket,
                 "/fault/redirect-" + std::to_string(fault.number - 1) + "/" + times + fault.route);
}

void PlayLoop(RawSocket& socket, const Fault& fault, const Response&)
{
    SendRedirect(socket, "/fault/loop/always" + fault.route);
}

void PlayToFile(RawSocket& socket, const Fault&, const Response&)
{
    SendRedirect(socket, "file:///etc/hostname");
}

void PlayToFtp(RawSocket& socket, const Fault& fault, const Response&)
{
    SendRedirect(socket, "ftp://127.0.0.1" + fault.route);
}

void PlayGigabyte(RawSocket& socket, const Fault&, const Response& tile)
{
    if (socket.Send(TileHead(tile, kGigabyte)))
        SendGigabyteOf(socket, std::string_view("\0", 1));
}

void PlayEndless(RawSocket& socket, const Fault&, const Response& tile)
{
    if (socket.Send(Head(200, "Content-Type: " + tile.contentType + "\r\n")))
        SendGigabyteOf(socket, std::string_view("\0", 1));
}

void PlayFlood(RawSocket& socket, const Fault&, const Response&)
{
    if (socket.Send("HTTP/1.1 200 As asked\r\n"))
        SendGigabyteOf(socket, "X-Flood: and another line of it\r\n");
}

constexpr std::array<FaultKind, 15> kKinds{{
    {"status", 400, 599, -1, PlayStatus},
    {"busy", 0, 86400, 503, PlayBusy},
    {"short", 0, 0, 200, PlayShort},
    {"long", 0, 0, 200, PlayLong},
    {"late", 1, kLongestPauseMs, 200, PlayLate},
    {"drip", 1, kLongestPauseMs, 200, PlayDrip},
    {"drop", 0, 0, 0, PlayDrop},
    {"reset", 0, 0, 200, PlayReset},
    {"redirect", 1, 20, 302, PlayRedirect},
    {"loop", 0, 0, 302, PlayLoop},
    {"to-file", 0, 0, 302, PlayToFile},
    {"to-ftp", 0, 0, 302, PlayToFtp},
    {"gigabyte", 0, 0, 200, PlayGigabyte},
    {"endless", 0, 0, 200, PlayEndless},
    {"flood", 0, 0, 200, PlayFlood},
}};

/// The number behind "name-". @return nothing when the text is not the kind's
std::optional<std::int64_t> ReadNumberFor(const FaultKind& kind, std::string_view text)
{
    if (kind.most == 0)
        return text == kind.name ? std::optional<std::int64_t>(0) : std::nullopt;
    if (!text.starts_with(kind.name) || !text.substr(kind.name.size()).starts_with('-'))
        return std::nullopt;
    const auto number = ReadNumber(text.substr(kind.name.size() + 1));
    if (!number || *number < kind.least || *number > kind.most)
        return std::nullopt;
    return number;
}

} // namespace

int Fault::Status() const
{
    return kind->status < 0 ? static_cast<int>(number) : kind->status;
}

std::optional<Fault> ReadKind(std::string_view text)
{
    for (const FaultKind& kind : kKinds) {
        if (const auto number = ReadNumberFor(kind, text))
            return Fault{&kind, *number, Fault::kAlways, {}};
    }
    return std::nullopt;
}

void Play(RawSocket& socket, const Fault& fault, const Response& tile)
{
    fault.kind->play(socket, fault, tile);
}

} // namespace KxOrigin
