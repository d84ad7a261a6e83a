// SPDX-License-Identifier: MIT
#include "forms/UrlPieces.h"

#include "forms/Schemes.h"

#include <algorithm>

namespace KxTileHost {

namespace {

using Kinds = std::vector<UrlPiece::Kind>;

/// What fills the conversions of the template, in turn.
Kinds ArgumentsOf(const KxC::KxTSDParamItem& source)
{
    constexpr auto x = UrlPiece::kX;
    constexpr auto y = UrlPiece::kY;
    constexpr auto z = UrlPiece::kZ;
    static const Kinds kOrders[] = {
        {z, x, y}, {x, y, z}, {z, y, x}, {x, z, y}, {y, x, z}, {y, z, x}};
    const int order = source.m_nAxisOrder;
    Kinds kinds = source.m_nTileScheme == Scheme::kBingMap
                      ? Kinds{UrlPiece::kQuadKey}
                      : kOrders[order >= 0 && order < 6 ? order : 0];
    if (source.m_bHasServerPart != 0)
        kinds.insert(kinds.begin(), UrlPiece::kServerPart);
    return kinds;
}

void AppendText(std::vector<UrlPiece>& pieces, char character)
{
    if (pieces.empty() || pieces.back().m_kind != UrlPiece::kText)
        pieces.push_back({UrlPiece::kText, ""});
    pieces.back().m_text += character;
}

} // namespace

const std::string& UrlWords::Of(UrlPiece::Kind kind) const
{
    switch (kind) {
    case UrlPiece::kServerPart:
        return m_serverPart;
    case UrlPiece::kX:
        return m_x;
    case UrlPiece::kY:
        return m_y;
    case UrlPiece::kZ:
        return m_z;
    default:
        return m_quadKey;
    }
}

const UrlWords& DefinitionWords()
{
    static const UrlWords kWords{"{$serverpart}", "{$x}", "{$y}", "{$z}", "{$quadkey}"};
    return kWords;
}

std::vector<UrlPiece> UrlPiecesOf(const KxC::KxTSDParamItem& source)
{
    const std::string text = source.m_strUrlTemplate.Cstr();
    if (source.m_bLuaScripted != 0 || source.m_nTileScheme == Scheme::kEarthHistory)
        return {{UrlPiece::kText, text}};
    const Kinds arguments = ArgumentsOf(source);
    std::size_t next = 0;
    std::vector<UrlPiece> pieces;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char conversion = text[at] == '%' && at + 1 < text.size() ? text[at + 1] : '\0';
        const bool fills = (conversion == 's' || conversion == 'd') && next < arguments.size();
        if (fills)
            pieces.push_back({arguments[next++], ""});
        else
            AppendText(pieces, text[at]);
        at += fills || conversion == '%' ? 1 : 0;
    }
    return pieces;
}

bool HasPiece(const std::vector<UrlPiece>& pieces, UrlPiece::Kind kind)
{
    return std::any_of(
        pieces.begin(), pieces.end(), [&](const UrlPiece& piece) { return piece.m_kind == kind; });
}

bool NamesWholeTile(const std::vector<UrlPiece>& pieces)
{
    return HasPiece(pieces, UrlPiece::kQuadKey) ||
           (HasPiece(pieces, UrlPiece::kX) && HasPiece(pieces, UrlPiece::kY) &&
            HasPiece(pieces, UrlPiece::kZ));
}

std::string WriteUrl(const std::vector<UrlPiece>& pieces, const UrlWords& words)
{
    std::string url;
    for (const UrlPiece& piece : pieces)
        url += piece.m_kind == UrlPiece::kText ? piece.m_text : words.Of(piece.m_kind);
    return url;
}

std::string ReadableUrl(const KxC::KxTSDParamItem& source)
{
    const std::vector<UrlPiece> pieces = UrlPiecesOf(source);
    return NamesWholeTile(pieces) ? WriteUrl(pieces, DefinitionWords())
                                  : std::string(source.m_strUrlTemplate.Cstr());
}

} // namespace KxTileHost
