// SPDX-License-Identifier: MIT
#include "serve/KeptNames.h"

#include "KxTSDParam.h"
#include "serve/SourceFiles.h"
#include "serve/SourceLoader.h"
#include "serve/SourceState.h"

#include <fmt/format.h>

#include <cctype>

namespace KxTileHost::Serve {

namespace {

/// The gateway names a definition's tiles by more than its address.
void AddDefinition(KeptNames& names, const std::string& path)
{
    const SourceArgument source(path);
    names.m_sourceTiles.insert(source.Load(SourceUse::Describe)->m_strHashKey.Cstr());
    const std::string state = NameOfDefinition(source.GetPath());
    KxC::KxTSDParamItem record;
    record.LoadFromTSDFile(source.GetPath().c_str());
    NameSourceTiles(record, state);
    names.m_sourceTiles.insert(record.m_strHashKey.Cstr());
    names.m_outputs.insert(state);
}

} // namespace

bool KeptNames::HoldsOutput(const std::string& name) const
{
    for (const std::string& output : m_outputs)
        if (name.size() > output.size() + 1 && name.compare(0, output.size(), output) == 0 &&
            name[output.size()] == '-' &&
            std::isdigit(static_cast<unsigned char>(name[output.size() + 1])) != 0)
            return true;
    return false;
}

KeptNames KeptNamesOf(const SourceArgument& source)
{
    KeptNames names;
    const std::string text = source.GetText();
    if (IsTakenForRaster(text)) {
        names.m_outputs.insert(NameOfRaster(text));
    } else if (source.IsTemplate()) {
        const std::string name = source.Load(SourceUse::Describe)->m_strHashKey.Cstr();
        names.m_sourceTiles.insert(name);
        names.m_outputs.insert(name);
    } else {
        SourceLists lists;
        for (const ListedSource& listed : lists.Read(text).m_sources)
            AddDefinition(names, listed.m_path);
    }
    return names;
}

std::string OutputPartName(const std::string& outputName, int size, TileFormat format)
{
    const std::string name = fmt::format("{}-{}", outputName, size);
    return format == TileFormat::Natural ? name : fmt::format("{}-{}", name, ExtensionOf(format));
}

} // namespace KxTileHost::Serve
