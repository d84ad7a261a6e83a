// SPDX-License-Identifier: MIT
#include "forms/FormLimits.h"

#include "Command.h"
#include "SourceFormat.h"
#include "SourceGrid.h"
#include "forms/Schemes.h"

#include <fmt/format.h>

namespace KxTileHost {

namespace {

bool HasName(const std::string& line, const std::string& name)
{
    return KxC::KxString(line.substr(0, line.find(':')).c_str()).CompareNoCase(name.c_str()) == 0;
}

} // namespace

void FormLimits::CannotIf(bool condition, const std::string& what)
{
    if (condition)
        Cannot(what);
}

void FormLimits::LosesIf(bool condition, const std::string& what)
{
    if (condition)
        Loses(what);
}

void FormLimits::ThrowIfAny() const
{
    if (m_faults.empty())
        return;
    std::string list;
    for (const std::string& fault : m_faults)
        list += (list.empty() ? "" : "; ") + fault;
    throw CommandError(kExitFailed,
                       fmt::format("{} cannot say this source: {}", m_form, list),
                       "Nothing was written.");
}

void FormLimits::CheckForOtherPrograms(const KxC::KxTSDParamItem& source)
{
    const bool scripted = source.m_bLuaScripted != 0;
    const bool history = source.m_nTileScheme == Scheme::kEarthHistory;
    CannotIf(scripted, "a script makes its URLs");
    CannotIf(history, "it is history imagery");
    CannotIf(GridOf(source.m_nTileScheme) == GridKind::Baidu, "its tiles lie in Baidu's grid");
    CannotIf(source.m_nDatum != 0,
             "its pictures are shifted by a datum (GCJ-02 or BD-09), which would show places "
             "some hundred metres off");
    CannotIf(FormatEndsIn(source, "gzip"), "its tiles are compressed once more (gzip)");
    CannotIf(
        source.m_nLevelOffset != 0,
        fmt::format("its levels are counted otherwise (level_offset {})", source.m_nLevelOffset));
    CannotIf(!scripted && !history && !NamesWholeTile(UrlPiecesOf(source)),
             "its URL does not hold all of column, row and level");
    LosesIf(source.m_bOption3 == 0,
            "that its service's terms exclude such use (enabled = false) is");
    LosesIf(source.m_strAttr3.IsEmpty() == 0, "the remark on the service's terms is");
}

void FormLimits::CheckWords(const std::vector<UrlPiece>& pieces,
                            const std::vector<std::string>& words)
{
    for (const UrlPiece& piece : pieces)
        for (const std::string& word : words)
            CannotIf(piece.m_kind == UrlPiece::kText &&
                         piece.m_text.find(word) != std::string::npos,
                     fmt::format("its URL holds the text {}, which would be a placeholder", word));
}

std::optional<std::string> HeaderValue(const KxC::KxTSDParamItem& source, const std::string& name)
{
    for (const KxC::KxString& header : source.m_arrRequestHeaders) {
        const std::string line = header.Cstr();
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos || !HasName(line, name))
            continue;
        const std::size_t value = line.find_first_not_of(" \t", colon + 1);
        return value == std::string::npos ? "" : line.substr(value);
    }
    return std::nullopt;
}

bool HasOtherHeaders(const KxC::KxTSDParamItem& source, const std::string& name)
{
    for (const KxC::KxString& header : source.m_arrRequestHeaders)
        if (!HasName(header.Cstr(), name))
            return true;
    return false;
}

std::string FirstServer(const KxC::KxTSDParamItem& source)
{
    const auto& servers = source.m_arrServerParts;
    return servers.GetSize() > 0 ? servers.begin()->Cstr() : "";
}

bool HasSeveralServers(const KxC::KxTSDParamItem& source)
{
    return source.m_bHasServerPart != 0 && source.m_arrServerParts.GetSize() > 1;
}

bool HasBounds(const KxC::KxTSDParamItem& source)
{
    const KxC::KxRect2d& rect = source.m_levelBounds.m_rect;
    return rect.m_dRight > rect.m_dLeft && rect.m_dTop > rect.m_dBottom;
}

bool IsPartOfWorld(const KxC::KxTSDParamItem& source)
{
    const KxC::KxRect2d& rect = source.m_levelBounds.m_rect;
    const bool world = rect.m_dLeft <= -180.0 && rect.m_dRight >= 180.0 &&
                       rect.m_dBottom <= -85.05 && rect.m_dTop >= 85.05;
    return HasBounds(source) && !world;
}

bool HasMaxLevel(const KxC::KxTSDParamItem& source)
{
    return source.m_levelBounds.m_nMaxLevel > 0;
}

} // namespace KxTileHost
