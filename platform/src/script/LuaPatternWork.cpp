// SPDX-License-Identifier: MIT
#include "LuaPatternWork.h"

#include <cmath>

namespace KxC {

namespace {

/// Repetitions, "%b" and back references: each may look at the rest of the text.
int CountRepetitions(std::string_view pattern)
{
    int count = 0;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        const char byte = pattern[at];
        const char next = at + 1 < pattern.size() ? pattern[at + 1] : '\0';
        if (byte == '%') {
            count += next == 'b' || (next >= '1' && next <= '9') ? 1 : 0;
            ++at;
        } else if (byte == '*' || byte == '+' || byte == '-' || byte == '?') {
            // Inside a set these are plain characters; counting them there errs on the safe side.
            ++count;
        }
    }
    return count;
}

} // namespace

double EstimatePatternWork(std::string_view pattern, std::size_t textBytes)
{
    const bool anchored = !pattern.empty() && pattern.front() == '^';
    const int power = CountRepetitions(pattern) + (anchored ? 0 : 1);
    const double perPath = 1.0 + static_cast<double>(pattern.size()) / 8.0;
    return std::pow(static_cast<double>(textBytes) + 1.0, power) * perPath;
}

double EstimateSearchWork(std::size_t wantedBytes, std::size_t textBytes)
{
    return (static_cast<double>(wantedBytes) / 8.0 + 1.0) *
           (static_cast<double>(textBytes) / 8.0 + 1.0);
}

bool IsPlainPattern(std::string_view pattern)
{
    return pattern.find_first_of("^$*+?.([%-") == std::string_view::npos;
}

} // namespace KxC
