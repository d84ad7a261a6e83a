// SPDX-License-Identifier: MIT
#include "serve/HttpAddress.h"

#include "Command.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>

#include <array>

namespace KxTileHost::Serve {

Reach ReachOf(const std::string& address)
{
    in_addr four{};
    in6_addr six{};
    if (inet_pton(AF_INET, address.c_str(), &four) == 1 && four.s_addr == htonl(INADDR_ANY))
        return Reach::AllOfIPv4;
    if (inet_pton(AF_INET6, address.c_str(), &six) == 1 && IN6_IS_ADDR_UNSPECIFIED(&six) != 0)
        return Reach::AllOfIPv6;
    return Reach::One;
}

socklen_t FillAddress(sockaddr_storage& storage, const std::string& address, std::uint16_t port)
{
    auto& four = reinterpret_cast<sockaddr_in&>(storage);
    if (inet_pton(AF_INET, address.c_str(), &four.sin_addr) == 1) {
        four.sin_family = AF_INET;
        four.sin_port = htons(port);
        return sizeof(four);
    }
    auto& six = reinterpret_cast<sockaddr_in6&>(storage);
    if (inet_pton(AF_INET6, address.c_str(), &six.sin6_addr) == 1) {
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(port);
        return sizeof(six);
    }
    throw CommandError(kExitWrongUsage,
                       fmt::format("'{}' is no IPv4 or IPv6 address", address),
                       "Write --bind 127.0.0.1, or 0.0.0.0 for all of this machine's addresses.");
}

std::string TextOf(const sockaddr_storage& address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* const from =
        address.ss_family == AF_INET6
            ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in6&>(address).sin6_addr)
            : &reinterpret_cast<const sockaddr_in&>(address).sin_addr;
    return inet_ntop(address.ss_family, from, text.data(), text.size()) == nullptr ? ""
                                                                                   : text.data();
}

std::string HostAndPortOf(const sockaddr_storage& address)
{
    const std::string text = TextOf(address);
    // The port lies at the same place in both kinds of addresses.
    const int port = ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
    return address.ss_family == AF_INET6 ? fmt::format("[{}]:{}", text, port)
                                         : fmt::format("{}:{}", text, port);
}

} // namespace KxTileHost::Serve
