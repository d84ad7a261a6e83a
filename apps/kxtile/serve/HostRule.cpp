// SPDX-License-Identifier: MIT
#include "serve/HostRule.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace KxTileHost::Serve {

namespace {

constexpr std::size_t kLongestHost = 255;

bool IsLoopback(const std::string& address)
{
    return address.compare(0, 4, "127.") == 0 || address == "::1";
}

std::string OwnName()
{
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "localhost";
}

} // namespace

std::string NameOfHost(const std::string& host)
{
    std::string name = host;
    if (!name.empty() && name.front() == '[')
        name = name.substr(1, name.find(']') - 1);
    else if (std::count(name.begin(), name.end(), ':') == 1)
        name.resize(name.find(':'));
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) {
        return static_cast<char>(std::tolower(c));
    });
    if (!name.empty() && name.back() == '.')
        name.pop_back();
    return name;
}

bool IsPlainHost(const std::string& host)
{
    return !host.empty() && host.size() <= kLongestHost &&
           std::all_of(host.begin(), host.end(), [](unsigned char c) {
               return std::isalnum(c) != 0 || c == '.' || c == '-' || c == '_' || c == ':' ||
                      c == '[' || c == ']';
           });
}

HostRule::HostRule(const std::string& bindAddress, const std::vector<std::string>& names)
    : m_checks(!IsLoopback(bindAddress)), m_names{"localhost", NameOfHost(OwnName())}
{
    for (const std::string& name : names)
        m_names.insert(NameOfHost(name));
}

bool HostRule::Allows(const char* host, const std::string& localAddress) const
{
    if (!m_checks)
        return true;
    if (host == nullptr)
        return false;
    const std::string name = NameOfHost(host);
    return m_names.count(name) > 0 || (!name.empty() && name == localAddress);
}

} // namespace KxTileHost::Serve
