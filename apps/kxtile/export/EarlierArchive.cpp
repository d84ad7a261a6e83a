// SPDX-License-Identifier: MIT
#include "EarlierArchive.h"

#include "Command.h"
#include "KxFile.h"
#include "KxPlugin.h"

#include <fmt/format.h>

namespace KxTileHost {

EarlierArchive::EarlierArchive(const std::string& path)
    : m_reader(static_cast<KxC::KxRasterDataAccessor*>(KxC::m_gPluginManager.FindPluginByExt(
          "AccessorPlugin", KxC::KxFile::GetExt(path.c_str()))))
{
    if (m_reader == nullptr)
        throw CommandError(kExitFailed,
                           fmt::format("no reader takes '{}'", path),
                           "KxTilePackReader.so is looked for in the folders of "
                           "KXTILE_PLUGIN_PATH or the installed ones.");
    if (m_reader->Open(path.c_str()) == 0)
        throw CommandError(kExitFailed,
                           fmt::format("'{}' is no archive that can be gone on with", path),
                           "With --overwrite it is made anew.");
}

std::unique_ptr<KxC::KxRawData> EarlierArchive::Find(const HostTile& tile) const
{
    constexpr int kRead = 5;
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    const int status = m_reader->ReadTileData(tile.m_z, tile.RowFromSouth(), tile.m_x, bytes, size);
    auto data = std::make_unique<KxC::KxRawData>();
    data->Attach(bytes, size);
    return status == kRead && bytes != nullptr ? std::move(data) : nullptr;
}

} // namespace KxTileHost
