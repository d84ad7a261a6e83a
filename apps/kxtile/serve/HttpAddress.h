// SPDX-License-Identifier: MIT
#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <string>

namespace KxTileHost::Serve {

/// How far an address to listen on reaches: itself alone, or all addresses of this machine.
enum class Reach { One, AllOfIPv4, AllOfIPv6 };
Reach ReachOf(const std::string& address);

/// Reads an IPv4 or IPv6 address.
/// @return the size of what was filled in
/// @throws CommandError for what is neither
socklen_t FillAddress(sockaddr_storage& storage, const std::string& address, std::uint16_t port);

/// The address without its port; empty when it is of no known kind.
std::string TextOf(const sockaddr_storage& address);
/// As a Host header would have it, with brackets and port.
std::string HostAndPortOf(const sockaddr_storage& address);

} // namespace KxTileHost::Serve
