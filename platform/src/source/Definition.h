// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace KxC {

/// Where something stands in a definition, in the words of the form that it is written in.
struct Place
{
    int line = 0; ///< from 1; 0 when there is none
    std::string key;
};

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

    /// Under our own keys ("url", "bounds.west"), where they come from.
    std::map<std::string, Place, std::less<>> places;
    bool namedPlaceholders = false;   ///< the url was written with names, not with "%d"
    bool foreignPlaceholders = false; ///< some of them other programs' names, such as {x}
};

} // namespace KxC
