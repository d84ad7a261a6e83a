// SPDX-License-Identifier: MIT
#include "HostTile.h"

#include "Command.h"
#include "SourceGrid.h"

#include <fmt/format.h>

#include <array>
#include <charconv>

namespace KxTileHost {

namespace {

constexpr int kMaxLevel = 30;
constexpr int kSchemeTianDiTuLatLon = 5;
constexpr int kSchemeThreeQuarterRows = 14;

/// Three whole numbers with slashes between them, and nothing else.
bool ReadNumbers(const std::string& text, std::array<int, 3>& numbers)
{
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto read = std::from_chars(at, end, numbers[i]);
        if (read.ec != std::errc())
            return false;
        at = read.ptr;
        const bool last = i + 1 == numbers.size();
        if (last ? at != end : at == end || *at++ != '/')
            return false;
    }
    return true;
}

} // namespace

int HostTile::RowForDirectDownload(const KxC::KxTSDParamItem& source) const
{
    const bool threeQuarter = source.m_nTileScheme == kSchemeTianDiTuLatLon ||
                              source.m_nTileScheme == kSchemeThreeQuarterRows;
    return threeQuarter || source.m_nSouthToNorth != 0 ? RowFromSouth() : m_y;
}

namespace {

std::array<int, 3> ReadAddress(const std::string& text)
{
    std::array<int, 3> numbers{};
    if (!ReadNumbers(text, numbers))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is no tile address", text),
                           "Write COLUMN/ROW/LEVEL with row 0 in the north, for instance 67/44/7.");
    const int level = numbers[2];
    if (level < 0 || level > kMaxLevel)
        throw CommandError(
            kExitWrongUsage,
            fmt::format("level {} of '{}' is outside 0 to {}", level, text, kMaxLevel),
            "The level stands last: COLUMN/ROW/LEVEL.");
    return numbers;
}

} // namespace

HostTile ParseHostTile(const std::string& text)
{
    const auto [x, y, z] = ReadAddress(text);
    const int tilesPerAxis = 1 << z;
    if (x < 0 || y < 0 || x >= tilesPerAxis || y >= tilesPerAxis)
        throw CommandError(
            kExitWrongUsage,
            fmt::format(
                "level {} has columns and rows 0 to {}, not '{}'", z, tilesPerAxis - 1, text),
            "The level stands last: COLUMN/ROW/LEVEL.");
    return {x, y, z};
}

HostTile ParseOwnTile(const std::string& text, const KxC::KxTSDParamItem& source)
{
    if (GridOf(source.m_nTileScheme) != GridKind::Baidu)
        return ParseHostTile(text);
    const auto [column, row, level] = ReadAddress(text);
    const int reach = 1 << level;
    if (column < -reach || row < -reach || column >= reach || row >= reach)
        throw CommandError(kExitWrongUsage,
                           fmt::format("level {} has columns and rows {} to {} at most, not '{}'",
                                       level,
                                       -reach,
                                       reach - 1,
                                       text),
                           "The level stands last: COLUMN/ROW/LEVEL.");
    return {column, reach - 1 - row, level};
}

} // namespace KxTileHost
