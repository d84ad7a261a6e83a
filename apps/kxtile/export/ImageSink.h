// SPDX-License-Identifier: MIT
#pragma once

#include "KxRasterWriter.h"
#include "TileSink.h"
#include "jobs/TileList.h"

#include <atomic>
#include <mutex>

namespace KxTileHost {

/// One GeoTIFF in Web Mercator metres, made of the tiles of one level.
class ImageSink : public TileSink
{
public:
    /// @param tiles     a block of one level's tiles
    /// @param tileSize  pixels a side
    /// @throws CommandError when the tiles are no block, or the file cannot be begun
    ImageSink(const std::string& path, const TileList& tiles, int tileSize);

    void Add(const HostTile& tile, const KxC::KxRawData& bytes) override;
    bool HasFailed() const override { return m_hasFailed; }
    void Finish() override;
    void Abandon() noexcept override;

private:
    const std::string m_path;
    const int m_tileSize;
    HostTile m_northWest{};
    std::unique_ptr<KxC::KxRasterWriter> m_writer;
    std::mutex m_mutex; ///< the writer serves one thread at a time
    std::atomic<bool> m_hasFailed{false};
    std::atomic<bool> m_isAbandoned{false};
};

} // namespace KxTileHost
