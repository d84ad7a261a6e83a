// SPDX-License-Identifier: MIT
#include "SourceGrid.h"
#include "forms/Form.h"
#include "forms/FormLimits.h"
#include "forms/Schemes.h"

#include <nlohmann/json.hpp>

namespace KxTileHost {

namespace {

using Json = nlohmann::ordered_json;

/// One URL for each server: programs ask them in turn, as this one does.
Json TileUrls(const KxC::KxTSDParamItem& source)
{
    UrlWords words{FirstServer(source), "{x}", "{y}", "{z}", ""};
    const std::vector<UrlPiece> pieces = UrlPiecesOf(source);
    Json urls = Json::array();
    if (!HasPiece(pieces, UrlPiece::kServerPart) || words.m_serverPart.empty()) {
        urls.push_back(WriteUrl(pieces, words));
        return urls;
    }
    for (const KxC::KxString& server : source.m_arrServerParts) {
        words.m_serverPart = server.Cstr();
        urls.push_back(WriteUrl(pieces, words));
    }
    return urls;
}

FormLimits LimitsOf(const KxC::KxTSDParamItem& source)
{
    FormLimits limits("TileJSON");
    limits.CheckForOtherPrograms(source);
    const int scheme = source.m_nTileScheme;
    limits.CannotIf(GridOf(scheme) == GridKind::Geographic, "its grid is not Web Mercator");
    limits.CannotIf(scheme == Scheme::kBingMap, "its tiles are named by quadkey");
    const bool headers = source.m_arrRequestHeaders.GetSize() > 0;
    limits.CannotIf(headers, "its requests carry header lines");
    limits.LosesIf(source.m_strUserAgent.IsEmpty() == 0, "the user agent is");
    limits.LosesIf(source.m_nTileSize != 256, "the size of the tiles in pixels is");
    limits.CheckWords(UrlPiecesOf(source), {"{x}", "{y}", "{z}", "{ratio}", "{quadkey}"});
    return limits;
}

/// 2.2.0, the last version that does not ask for the layers of vector tiles.
Json Describe(const KxC::KxTSDParamItem& source)
{
    Json json{{"tilejson", "2.2.0"}};
    const auto text = [&](const char* key, const KxC::KxString& value) {
        if (value.IsEmpty() == 0)
            json[key] = value.Cstr();
    };
    text("name", source.m_strAttr1);
    text("description", source.m_strAttr4);
    text("attribution", source.m_strAttr2);
    json["scheme"] = source.m_nSouthToNorth != 0 ? "tms" : "xyz";
    json["tiles"] = TileUrls(source);
    if (HasMaxLevel(source)) {
        json["minzoom"] = source.m_levelBounds.m_nMinLevel;
        json["maxzoom"] = source.m_levelBounds.m_nMaxLevel;
    }
    const KxC::KxRect2d& rect = source.m_levelBounds.m_rect;
    if (HasBounds(source))
        json["bounds"] = {rect.m_dLeft, rect.m_dBottom, rect.m_dRight, rect.m_dTop};
    return json;
}

} // namespace

FormText WriteTileJson(const KxC::KxTSDParamItem& source)
{
    const FormLimits limits = LimitsOf(source);
    limits.ThrowIfAny();
    return {Describe(source).dump(2) + "\n", limits.Losses()};
}

} // namespace KxTileHost
