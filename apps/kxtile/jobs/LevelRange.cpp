// SPDX-License-Identifier: MIT
#include "LevelRange.h"

#include "Command.h"

#include <fmt/format.h>

#include <charconv>

namespace KxTileHost {

namespace {

constexpr int kMaxLevel = 30;

/// Digits alone; a sign would be taken for the dash of a range.
bool ReadLevel(const char*& at, const char* end, int& level)
{
    if (at == end || *at == '-')
        return false;
    const auto read = std::from_chars(at, end, level);
    at = read.ptr;
    return read.ec == std::errc();
}

bool ReadRange(const std::string& text, LevelRange& levels)
{
    const char* at = text.data();
    const char* const end = at + text.size();
    if (!ReadLevel(at, end, levels.m_first))
        return false;
    levels.m_last = levels.m_first;
    if (at != end && *at == '-' && !ReadLevel(++at, end, levels.m_last))
        return false;
    return at == end;
}

} // namespace

LevelRange ParseLevelRange(const std::string& text)
{
    LevelRange levels;
    if (!ReadRange(text, levels))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' are no levels", text),
                           "Write one level, or the first and the last as in 0-8.");
    if (levels.m_last > kMaxLevel || levels.m_first > levels.m_last)
        throw CommandError(
            kExitWrongUsage,
            fmt::format("'{}': levels go from 0 to {}, the first one first", text, kMaxLevel));
    return levels;
}

} // namespace KxTileHost
