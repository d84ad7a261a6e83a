// SPDX-License-Identifier: MIT
#pragma once

#include "RawSocket.h"
#include "Service.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KxOrigin {

struct FaultKind;

/// One fault, as an address asks for it.
struct Fault
{
    static constexpr std::int64_t kAlways = -1;

    const FaultKind* kind = nullptr; ///< never null in what ReadKind gives
    std::int64_t number = 0;         ///< what stands behind the kind's name
    std::int64_t times = kAlways;    ///< how often an address fails
    std::string route;               ///< path and query of the tile

    /// Status of its answer; `number` where the kind leaves it open, 0 for none.
    int Status() const;
};

/// A way to answer wrongly.
struct FaultKind
{
    std::string_view name;
    std::int64_t least; ///< of the number behind the name
    std::int64_t most;  ///< 0 when the name stands alone
    int status;         ///< -1 when the number is the status
    /// Answers on the socket, which is closed afterwards.
    void (*play)(RawSocket& socket, const Fault& fault, const Response& tile);
};

/// A kind with its number, such as "late-500". @return nothing for another text
std::optional<Fault> ReadKind(std::string_view text);

/// Answers with the fault in place of the tile, then leaves the connection to be closed.
void Play(RawSocket& socket, const Fault& fault, const Response& tile);

} // namespace KxOrigin
