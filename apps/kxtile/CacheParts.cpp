// SPDX-License-Identifier: MIT
#include "CacheParts.h"

#include "Command.h"
#include "KxFile.h"
#include "serve/KeptNames.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace KxTileHost {

namespace {

using KxC::KxRawDataTypeCacheManager;

constexpr std::array kTypes{KxRawDataTypeCacheManager::CacheType_SourceTile,
                            KxRawDataTypeCacheManager::CacheType_OutputTile};

} // namespace

bool CachePart::IsOfGateway() const
{
    return m_type == KxRawDataTypeCacheManager::CacheType_OutputTile;
}

const char* CachePart::Kind() const
{
    return IsOfGateway() ? "gateway" : "service";
}

std::string CachePart::ReadableName() const
{
    const std::string name = m_info.m_strName.Cstr();
    return (IsOfGateway() ? "made by serve: " : "") +
           (m_info.m_strDescription.IsEmpty() != 0
                ? name
                : fmt::format("{} ({})", m_info.m_strDescription.Cstr(), name));
}

std::vector<CachePart> ListCacheParts()
{
    std::vector<CachePart> parts;
    for (const auto type : kTypes)
        for (const auto& info : KxC::m_gRawDataTypeCacheManager.ListSubTrees(type))
            parts.push_back({type, info});
    return parts;
}

std::vector<CachePart> ListCachePartsOf(const SourceArgument& source)
{
    const Serve::KeptNames names = Serve::KeptNamesOf(source);
    std::vector<CachePart> parts = ListCacheParts();
    std::erase_if(parts, [&](const CachePart& part) {
        const std::string name = part.m_info.m_strName.Cstr();
        return part.IsOfGateway() ? !names.HoldsOutput(name) : !names.HoldsSourceTiles(name);
    });
    return parts;
}

void PrintNothingKept(const SourceArgument& source)
{
    if (source.GetText().empty())
        fmt::print("no tiles are kept in {}\n", KxC::KxFile::m_strAppCachePath.Cstr());
    else
        fmt::print("no tiles of '{}' are kept\n", Printable(source.GetText()));
}

std::vector<KxC::KxRawDataDamagedFile> ListSetAside()
{
    std::vector<KxC::KxRawDataDamagedFile> files;
    for (const auto type : kTypes)
        for (const auto& file : KxC::m_gRawDataTypeCacheManager.ListDamagedFiles(type))
            files.push_back(file);
    return files;
}

} // namespace KxTileHost
