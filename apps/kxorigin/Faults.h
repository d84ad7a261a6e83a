// SPDX-License-Identifier: MIT
#pragma once

#include "FaultKinds.h"
#include "Routes.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace KxOrigin {

/// What a fault's address looks like, for those who got it wrong.
inline constexpr std::string_view kFaultUsage =
    "a fault is /fault/{kind}/{times}/{route}: times is 'always' or how often each address fails, "
    "route is that of a tile, kind is one of status-CODE busy-SECONDS short long late-MS drip-MS "
    "drop reset redirect-COUNT loop to-file to-ftp gigabyte endless flood";

/// The faults that addresses ask for: "/fault/{kind}/{times}/{route}". Safe for several threads.
class Faults
{
public:
    /// How many addresses are counted; with one more, counting starts anew.
    static constexpr std::size_t kMostAddresses = 10000;

    /// Leaves the route of the tile alone in the request's path; a path that names no fault, or
    /// not well, stays as it is.
    /// @param uri  the request's path and query, as they came
    /// @return the fault that befalls this request; nothing when there is none, when the address
    ///         has failed often enough, or for another method than GET
    std::optional<Fault> Meet(Request& request, std::string_view uri);

private:
    bool IsDue(const std::string& address, std::int64_t times);

    std::mutex m_mutex; ///< guards the counters
    std::unordered_map<std::string, std::int64_t> m_met;
};

} // namespace KxOrigin
