// SPDX-License-Identifier: MIT
#include "ArchiveSink.h"

#include "Command.h"
#include "KxFile.h"
#include "UnfinishedFiles.h"

#include <fmt/format.h>

#include <stdexcept>

namespace KxTileHost {

void ThrowUnwritable(const std::string& path, const std::string& why)
{
    throw CommandError(kExitFailed,
                       fmt::format("cannot write '{}': {}", path, why),
                       "Check that the folder exists, may be written, and has room.");
}

std::string FolderOf(const std::string& path)
{
    const KxC::KxString folder = KxC::KxFile::GetDir(path.c_str());
    return folder.IsEmpty() != 0 ? "." : folder.Cstr();
}

ArchiveSink::ArchiveSink(const std::string& path,
                         KxC::KxTileArchiveFormat format,
                         const KxC::KxTileArchiveMetadata& metadata)
    : m_path(path), m_folder(FolderOf(path))
{
    if (!m_writer.Create(path.c_str(), format, metadata))
        ThrowUnwritable(path, m_writer.GetError().Cstr());
}

void ArchiveSink::Add(const HostTile& tile, const KxC::KxRawData& bytes)
{
    if (m_writer.AddTile(tile.m_z, tile.RowFromSouth(), tile.m_x, bytes.GetData(), bytes.GetSize()))
        return;
    m_hasFailed = true;
    throw std::runtime_error("the file cannot be written");
}

void ArchiveSink::Finish()
{
    if (!m_writer.Finish())
        ThrowUnwritable(m_path, m_writer.GetError().Cstr());
}

/// What else it makes has no name.
void ArchiveSink::Abandon() noexcept
{
    RemoveUnfinishedForGood({m_folder});
}

} // namespace KxTileHost
