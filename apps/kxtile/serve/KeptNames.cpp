// SPDX-License-Identifier: MIT
#include "serve/KeptNames.h"

#include "Command.h"
#include "KxTSDParam.h"
#include "serve/SourceFiles.h"
#include "serve/SourceLoader.h"
#include "serve/SourceState.h"

#include <fmt/format.h>

#include <cctype>
#include <cstdio>
#include <optional>
#include <vector>

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

/// Those of one entry at least.
/// @throws CommandError the first entry's, when none can be read
void AddEntries(KeptNames& names, const std::vector<ListedSource>& entries)
{
    std::optional<CommandError> first;
    bool isRead = false;
    for (const ListedSource& entry : entries)
        try {
            AddDefinition(names, entry.m_path);
            isRead = true;
        } catch (const CommandError& error) {
            if (!first)
                first = error;
        }
    if (first && !isRead)
        throw CommandError(*first);
    if (first)
        fmt::print(stderr,
                   "kxtile: entries that cannot be used are left out: {}\n",
                   Printable(first->what()));
}

void CheckIsThere(const std::string& raster)
{
    if (StampOf(raster).empty())
        throw CommandError(kExitFailed,
                           fmt::format("there is no file '{}'", raster),
                           "'kxtile cache info' lists what is kept; --all clears what is left of "
                           "files that are gone.");
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
        CheckIsThere(text);
        names.m_outputs.insert(NameOfRaster(text));
    } else if (source.IsTemplate()) {
        const std::string name = source.Load(SourceUse::Describe)->m_strHashKey.Cstr();
        names.m_sourceTiles.insert(name);
        names.m_outputs.insert(name);
    } else {
        SourceLists lists;
        AddEntries(names, lists.Read(text).m_sources);
    }
    return names;
}

std::string OutputPartName(const std::string& outputName, int size, TileFormat format)
{
    const std::string name = fmt::format("{}-{}", outputName, size);
    return format == TileFormat::Natural ? name : fmt::format("{}-{}", name, ExtensionOf(format));
}

} // namespace KxTileHost::Serve
