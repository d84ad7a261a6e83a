// SPDX-License-Identifier: MIT
/// A source's URL taken apart, so that it can be written with the placeholders of any form.
#pragma once

#include "KxTSDParam.h"

#include <string>
#include <vector>

namespace KxTileHost {

struct UrlPiece
{
    enum Kind { kText, kServerPart, kX, kY, kZ, kQuadKey };
    Kind m_kind;
    std::string m_text; ///< of kText
};

/// The words that a form has for what changes from tile to tile.
struct UrlWords
{
    std::string m_serverPart;
    std::string m_x;
    std::string m_y;
    std::string m_z;
    std::string m_quadKey;

    const std::string& Of(UrlPiece::Kind kind) const;
};

/// How tile-source definitions write it.
const UrlWords& DefinitionWords();

/// The URL in pieces, in the order in which the library fills its template. A source whose URLs
/// are not made from a template (a script, history imagery) gives its template as one text.
std::vector<UrlPiece> UrlPiecesOf(const KxC::KxTSDParamItem& source);

/// Whether a tile is named in full: by all of x, y and z, or by its quadkey.
bool NamesWholeTile(const std::vector<UrlPiece>& pieces);
bool HasPiece(const std::vector<UrlPiece>& pieces, UrlPiece::Kind kind);

/// The URL in a form's words.
std::string WriteUrl(const std::vector<UrlPiece>& pieces, const UrlWords& words);

/// The URL of a source as a definition would name it; the template as it is where that cannot
/// say it.
std::string ReadableUrl(const KxC::KxTSDParamItem& source);

} // namespace KxTileHost
