// SPDX-License-Identifier: MIT
#include "ArchiveSink.h"

#include "Command.h"
#include "KxFile.h"
#include "KxImgUtility.h"
#include "UnfinishedFiles.h"

#include <fmt/format.h>

#include <stdexcept>

namespace KxTileHost {

namespace {

bool IsForPmTiles(const KxC::KxRawData& bytes)
{
    const KxC::KxString ext = KxC::KxImgUtility::TellImgExt(bytes.GetData(), bytes.GetSize());
    return ext == ".png" || ext == ".jpeg" || ext == ".webp";
}

} // namespace

void ThrowUnwritable(const std::string& path, const std::string& why, const std::string& hint)
{
    throw CommandError(kExitFailed, fmt::format("cannot write '{}': {}", path, why), hint);
}

std::string FolderOf(const std::string& path)
{
    const KxC::KxString folder = KxC::KxFile::GetDir(path.c_str());
    return folder.IsEmpty() != 0 ? "." : folder.Cstr();
}

ArchiveSink::ArchiveSink(const std::string& path,
                         KxC::KxTileArchiveFormat format,
                         const KxC::KxTileArchiveMetadata& metadata)
    : m_path(path), m_folder(FolderOf(path)), m_format(format)
{
    if (!m_writer.Create(path.c_str(), format, metadata))
        ThrowUnwritable(path, m_writer.GetError().Cstr());
}

void ArchiveSink::Add(const HostTile& tile, const KxC::KxRawData& bytes)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_isClosed)
        throw std::runtime_error("the file is complete");
    if (m_writer.AddTile(tile.m_z, tile.RowFromSouth(), tile.m_x, bytes.GetData(), bytes.GetSize()))
        return;
    if (m_format == KxC::KxTileArchiveFormat_PMTiles && !IsForPmTiles(bytes))
        m_isWrongType = true;
    m_hasFailed = true;
    throw std::runtime_error("the file cannot be written");
}

void ArchiveSink::Finish()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isClosed = true;
    if (m_writer.Finish())
        return;
    if (m_isWrongType)
        ThrowUnwritable(m_path,
                        m_writer.GetError().Cstr(),
                        "Write MBTiles instead, which holds any pictures: FILE.mbtiles.");
    ThrowUnwritable(m_path, m_writer.GetError().Cstr());
}

/// What else it makes has no name.
void ArchiveSink::Abandon() noexcept
{
    RemoveUnfinishedForGood({m_folder});
}

} // namespace KxTileHost
