// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace KxOrigin {

struct Options
{
    std::uint16_t port = 0;         ///< 0 lets the system choose
    std::string bind = "127.0.0.1"; ///< IPv4
    std::string log;                ///< as RequestLog takes it
    std::optional<int> exitCode;    ///< set when there is nothing left to do but to exit
};

/// Reads the command line; help, the version and complaints are printed here.
Options ReadOptions(int argc, const char* const* argv);

} // namespace KxOrigin
