// SPDX-License-Identifier: MIT
#include "Faults.h"

#include "Paths.h"

#include <algorithm>
#include <string_view>

namespace KxOrigin {

namespace {

constexpr std::string_view kStart = "/fault/";
constexpr std::int64_t kMostTimes = 1000000;

/// Takes the part before the next slash off `rest`, the slash too.
std::string_view TakePart(std::string_view& rest)
{
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    const std::string_view part = rest.substr(0, slash);
    rest.remove_prefix(std::min(slash + 1, rest.size()));
    return part;
}

/// How often each address fails. @return nothing when the text does not say
std::optional<std::int64_t> ReadTimes(std::string_view text)
{
    if (text == "always")
        return Fault::kAlways;
    const auto times = ReadNumber(text);
    if (!times || *times < 1 || *times > kMostTimes)
        return std::nullopt;
    return times;
}

/// @return nothing when the address names no fault, or not well
std::optional<Fault> ReadFault(std::string_view uri)
{
    if (!uri.starts_with(kStart))
        return std::nullopt;
    uri.remove_prefix(kStart.size());
    std::optional<Fault> fault = ReadKind(TakePart(uri));
    const auto times = ReadTimes(TakePart(uri));
    if (!fault || !times || uri.empty())
        return std::nullopt;
    fault->times = *times;
    fault->route = "/" + std::string(uri);
    return fault;
}

} // namespace

std::optional<Fault> Faults::Meet(Request& request, std::string_view uri)
{
    std::optional<Fault> fault = ReadFault(uri);
    if (!fault)
        return std::nullopt;
    request.path = fault->route.substr(0, fault->route.find('?'));
    if (request.method != "GET" || !IsDue(std::string(uri), fault->times))
        return std::nullopt;
    return fault;
}

bool Faults::IsDue(const std::string& address, std::int64_t times)
{
    if (times == Fault::kAlways)
        return true;
    const std::lock_guard lock(m_mutex);
    if (m_met.size() >= kMostAddresses && !m_met.contains(address))
        m_met.clear();
    std::int64_t& met = m_met[address];
    if (met >= times)
        return false;
    ++met;
    return true;
}

} // namespace KxOrigin
