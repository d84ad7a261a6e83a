// SPDX-License-Identifier: MIT
#pragma once

#include <set>
#include <string>
#include <vector>

namespace KxTileHost::Serve {

/// Which Host headers are answered. A page of elsewhere whose name leads here must not read what
/// this machine serves.
class HostRule
{
public:
    /// @param bindAddress  on a loopback address every host is answered
    /// @param names        that are answered besides this machine's own
    HostRule(const std::string& bindAddress, const std::vector<std::string>& names);

    /// @param host          the header with or without a port; null when there is none
    /// @param localAddress  that the request came to
    bool Allows(const char* host, const std::string& localAddress) const;

private:
    bool m_checks;
    std::set<std::string> m_names;
};

/// A Host header without its port, and without the brackets of an IPv6 address, in lower case.
std::string NameOfHost(const std::string& host);

/// Whether a Host header holds nothing but what names, addresses and ports are made of.
bool IsPlainHost(const std::string& host);

} // namespace KxTileHost::Serve
