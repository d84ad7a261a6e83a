// SPDX-License-Identifier: MIT
#pragma once

#include "KxTileArchiveWriter.h"
#include "TileSink.h"

#include <atomic>
#include <mutex>

namespace KxTileHost {

/// An MBTiles or PMTiles file.
class ArchiveSink : public TileSink
{
public:
    /// @throws CommandError when the file cannot be begun
    ArchiveSink(const std::string& path,
                KxC::KxTileArchiveFormat format,
                const KxC::KxTileArchiveMetadata& metadata);

    void Add(const HostTile& tile, const KxC::KxRawData& bytes) override;
    bool HasFailed() const override { return m_hasFailed; }
    void Finish() override;
    void Abandon() noexcept override;

private:
    const std::string m_path;
    const std::string m_folder;
    const KxC::KxTileArchiveFormat m_format;
    KxC::KxTileArchiveWriter m_writer;
    std::mutex m_mutex; ///< Finish must not meet Add
    bool m_isClosed = false;
    std::atomic<bool> m_hasFailed{false};
    std::atomic<bool> m_isWrongType{false}; ///< of the tile that was not taken
};

} // namespace KxTileHost
