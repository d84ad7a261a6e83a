// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace KxC {

/// What a definition sets; what it does not mention has no value.
struct Definition
{
    std::optional<double> west, south, east, north;
    std::optional<int> minLevel, maxLevel;
    std::optional<int> tileSize, levelOffset, value1, value2, value3;
    std::optional<bool> option1, option2, option3;
    std::optional<std::string> url, servers, scheme, datum, rows, axisOrder, format, version;
    std::optional<std::string> userAgent, script, attr1, attr2, attr3, attr4, attr5;
    std::vector<std::string> headers;
};

} // namespace KxC
