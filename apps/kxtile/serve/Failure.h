// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Source.h"

#include <string>

namespace KxTileHost::Serve {

/// Why the calling thread's last fetch brought nothing.
struct Failure
{
    bool m_isNoTile = false; ///< the source has nothing there after all
    bool m_isTooSlow = false;
    std::string m_cause; ///< one line; of addresses it names the host alone
};

/// @param timeoutMs  that each request was given; 0 for the library's default
Failure DescribeLastFailure(const Source& source, int timeoutMs);

/// The host of an address, with its port; what else addresses hold may be secret.
std::string HostOf(const std::string& address);

} // namespace KxTileHost::Serve
