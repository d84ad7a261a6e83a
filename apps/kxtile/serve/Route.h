// SPDX-License-Identifier: MIT
/// The one place where the gateway's paths get their meaning.
#pragma once

#include "serve/TileRequest.h"

#include <string>
#include <string_view>

namespace KxTileHost::Serve {

struct Route
{
    enum Kind {
        kUnknown,   ///< no such address
        kMalformed, ///< m_fault says why
        kAsset,     ///< m_name: a file of the map page
        kHealth,
        kMetrics,
        kSources,
        kQgis,
        kLocate,
        kWmts, ///< capabilities; with a query in key-value form also tiles
        kTmsService,
        kTmsMap, ///< of m_source
        kTileJson,
        kGdalXml,
        kDates,
        kTile,
        kRawTile,
    };
    Kind m_kind = kUnknown;
    std::string m_source;
    std::string m_name;
    /// What is wrong with the address of a tile, or with the whole; empty when nothing is. Told
    /// only once it is known that there is such a source.
    std::string m_fault;
    TileRequest m_tile; ///< the numbers as written; rows from the south where m_southRows says so
    bool m_southRows = false;
};

/// WMTS' tile matrix set of all levels.
constexpr std::string_view kMatrixSet = "GoogleMapsCompatible";
/// The name of the same set up to a level: clients take what a set has for what its layers have.
std::string MatrixSetTo(int lastLevel);

/// @param path  as it came, percent sequences and all, without the query
Route ParsePath(std::string_view path);

/// What a WMTS client asks for in key-value form. What is empty is not there.
struct WmtsParameters
{
    std::string m_layer;
    std::string m_style;
    std::string m_matrixSet;
    std::string m_matrix;
    std::string m_row;
    std::string m_column;
    std::string m_format; ///< a media type
};
Route WmtsTileRoute(const WmtsParameters& parameters);

/// Whether a source may not have that name, because an address of the gateway's own begins so.
bool IsReservedName(std::string_view name);

} // namespace KxTileHost::Serve
