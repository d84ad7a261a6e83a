// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace KxC {

/// Addresses of one service on several servers, as one address.
struct ServerPattern
{
    std::string url;     ///< with {$serverpart} where they differ; the first when they do not fit
    std::string servers; ///< what stands there, between blanks; empty when they do not fit
};

/// Finds where addresses differ: in one place before any placeholder, by texts that a list of
/// servers may hold.
ServerPattern FindServers(const std::vector<std::string>& addresses);

} // namespace KxC
