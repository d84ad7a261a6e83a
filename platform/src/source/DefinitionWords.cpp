// SPDX-License-Identifier: MIT
#include "DefinitionWords.h"

#include "TextRules.h"

#include <cstdlib>

namespace KxC {

int SchemeOf(const Definition& definition)
{
    const std::string text = definition.scheme.value_or("");
    const std::string lower = Lower(text);
    if (lower == "tianditulatlon")
        return 5;
    if (lower == "latlonwgs84")
        return 9;
    if (lower == "webmercatorwgs84")
        return 10;
    if (lower == "bingmap")
        return kSchemeBingMap;
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

bool IsBaiduGrid(int scheme)
{
    return scheme == kSchemeBaidu || scheme == 13;
}

bool HasHalfRows(int scheme)
{
    return scheme == 5 || scheme == 14;
}

bool IsFromSouth(std::string_view rows)
{
    return Lower(rows) == "southtonorth" || rows == "1";
}

} // namespace KxC
