// SPDX-License-Identifier: MIT
#include "serve/TileAddress.h"

#include "Command.h"
#include "EarthSource.h"
#include "SourceGrid.h"

#include <fmt/format.h>

#include <optional>

namespace KxTileHost::Serve {

namespace {

/// The Baidu grid goes on in all directions, and its own tiles count from its origin.
bool CountsFromOrigin(const Source& source, const Route& route)
{
    return route.m_kind == Route::kRawTile && source.m_item != nullptr &&
           GridOf(source.m_item->m_nTileScheme) == GridKind::Baidu;
}

/// @return nothing for what is no day; 0 for an empty text
std::optional<DayNumber> ReadDay(const std::string& text)
{
    if (text.empty())
        return 0;
    try {
        const KxC::KxTime day = *ParseDate(text);
        return (day.GetYear() * 100 + day.GetMonth()) * 100 + day.GetDay();
    } catch (const CommandError&) {
        return std::nullopt;
    }
}

AnswerPtr CheckIndex(const char* what, int index, int first, int count)
{
    if (index >= first && index < count)
        return nullptr;
    return TextAnswer(
        Status::kBadRequest,
        fmt::format("{} {} is none of the level's {} to {}", what, index, first, count - 1));
}

} // namespace

AnswerPtr CheckTile(const Source& source, const Route& route, TileRequest& tile)
{
    if (!route.m_fault.empty())
        return TextAnswer(Status::kBadRequest, route.m_fault);
    tile = route.m_tile;
    if (route.m_kind == Route::kRawTile && tile.m_size != kTileSize)
        return TextAnswer(Status::kBadRequest,
                          "a service's own tile has the size that it has; leave out @2x");
    if (tile.m_z < 0)
        return TextAnswer(Status::kBadRequest, fmt::format("there is no level {}", tile.m_z));
    if (tile.m_z < source.m_minLevel || tile.m_z > source.m_maxLevel)
        return TextAnswer(Status::kNotFound,
                          fmt::format("level {} is outside the source's {} to {}",
                                      tile.m_z,
                                      source.m_minLevel,
                                      source.m_maxLevel));
    const int count = 1 << tile.m_z;
    const int first = CountsFromOrigin(source, route) ? -count : 0;
    AnswerPtr refusal = CheckIndex("column", tile.m_x, first, count);
    if (refusal == nullptr)
        refusal = CheckIndex("row", tile.m_y, first, count);
    if (refusal == nullptr && route.m_southRows)
        tile.m_y = count - 1 - tile.m_y;
    return refusal;
}

AnswerPtr CheckDay(const Source& source, const std::string& text, DayNumber& day)
{
    const auto read = ReadDay(text);
    if (!read)
        return TextAnswer(Status::kBadRequest,
                          fmt::format("'{}' is no day; write YYYY-MM-DD", text));
    if (*read != 0 && source.m_kind != Source::Kind::History)
        return TextAnswer(Status::kBadRequest, "only history imagery has dates");
    day = *read;
    return nullptr;
}

} // namespace KxTileHost::Serve
