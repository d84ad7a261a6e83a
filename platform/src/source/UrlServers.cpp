// SPDX-License-Identifier: MIT
#include "UrlServers.h"

#include "TextRules.h"

#include <algorithm>
#include <string_view>

namespace KxC {

namespace {

std::size_t CommonStart(const std::vector<std::string>& texts)
{
    std::size_t length = texts[0].size();
    for (const std::string& text : texts) {
        const auto end = std::mismatch(texts[0].begin(), texts[0].end(), text.begin(), text.end());
        length = std::min(length, static_cast<std::size_t>(end.first - texts[0].begin()));
    }
    return length;
}

std::size_t CommonEnd(const std::vector<std::string>& texts, std::size_t start)
{
    std::size_t length = texts[0].size() - start;
    for (const std::string& text : texts) {
        const auto end =
            std::mismatch(texts[0].rbegin(), texts[0].rend(), text.rbegin(), text.rend());
        length = std::min(
            {length, static_cast<std::size_t>(end.first - texts[0].rbegin()), text.size() - start});
    }
    return length;
}

/// Where the part that differs ends, when names of hosts are not cut: before the first dot that
/// all have, or the path.
std::size_t EndOfName(const std::string& address, std::size_t start, std::size_t commonEnd)
{
    const std::size_t common = address.size() - commonEnd;
    const std::size_t slash = std::min(address.find('/', start), address.size());
    const std::size_t dot = std::min(address.find('.', common), address.size());
    return std::max(common, std::min(slash, dot));
}

bool IsServer(std::string_view text)
{
    return !text.empty() && !HasControl(text) && text.find_first_of(" ,{}%") == text.npos;
}

} // namespace

ServerPattern FindServers(const std::vector<std::string>& addresses)
{
    if (addresses.size() < 2)
        return {addresses.empty() ? "" : addresses[0], ""};
    std::size_t start = CommonStart(addresses);
    // Names are kept whole: "t10" and "t11", not "0" and "1", nor "" and "a.".
    const std::size_t host = addresses[0].find("://");
    if (host != std::string::npos && start >= host + 3)
        start = host + 3;
    std::size_t end = CommonEnd(addresses, start);
    end = std::min(end, addresses[0].size() - EndOfName(addresses[0], start, end));
    ServerPattern pattern{addresses[0].substr(0, start) + "{$serverpart}" +
                              addresses[0].substr(addresses[0].size() - end),
                          ""};
    for (const std::string& address : addresses) {
        const std::string server = address.substr(start, address.size() - end - start);
        if (!IsServer(server) || address.size() < start + end)
            return {addresses[0], ""};
        pattern.servers += (pattern.servers.empty() ? "" : " ") + server;
    }
    return pattern;
}

} // namespace KxC
