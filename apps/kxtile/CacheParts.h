// SPDX-License-Identifier: MIT
/// The parts of the disk cache: the services' own tiles, and what the gateway made of sources.
#pragma once

#include "KxRawDataTypeCache.h"
#include "SourceArgument.h"

#include <string>
#include <vector>

namespace KxTileHost {

/// One file of the disk cache.
struct CachePart
{
    KxC::KxRawDataTypeCacheManager::CacheType m_type;
    KxC::KxRawDataSubTreeInfo m_info;

    bool IsOfGateway() const;
    /// "service" or "gateway", for programs.
    const char* Kind() const;
    /// The part's name, behind the word for people where there is one.
    std::string ReadableName() const;
};

/// The services' tiles first, then the gateway's; each by name.
std::vector<CachePart> ListCacheParts();
/// Those of a definition in its present state, all its sources where it is a list; of a template;
/// or of a raster, of which the gateway alone keeps tiles.
/// @throws CommandError when the definition cannot be read, the raster is not there, or the
/// template
///         is none
std::vector<CachePart> ListCachePartsOf(const SourceArgument& source);

/// Says that nothing is kept: of the source, or at all where none is named.
void PrintNothingKept(const SourceArgument& source);

/// Databases that were set aside, of both kinds.
std::vector<KxC::KxRawDataDamagedFile> ListSetAside();

} // namespace KxTileHost
