// SPDX-License-Identifier: MIT
#include "StoredSource.h"

#include "KxFile.h"
#include "KxImgUtility.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace KxC::RetrievalBench {

namespace {

using ImageBench::kTileSide;

constexpr double kHalfWorld = 20037508.342789244;

const std::vector<Bytes>& Files()
{
    static const std::vector<Bytes> files = [] {
        std::vector<Bytes> encoded;
        for (const Bytes& tile : ImageBench::Tiles().tiles) {
            unsigned char* data = nullptr;
            unsigned int size = 0;
            KxImgUtility::SaveImageToMemory(
                tile.data(), kTileSide, kTileSide, 24, data, size, ".jpeg", 0);
            encoded.emplace_back(data, data + size);
            std::free(data);
        }
        return encoded;
    }();
    return files;
}

std::size_t PictureAt(int row, int col)
{
    return (static_cast<std::size_t>(row) * 31 + static_cast<std::size_t>(col)) % Files().size();
}

/// The tiles under the corners of a Web Mercator tile, and one more all around.
Block BlockUnder(int scheme, int datum, int x, int y, int z, int level)
{
    Block block{1 << 30, 1 << 30, 0, 0};
    const double span = 2 * kHalfWorld / (1 << z);
    for (const int east : {0, 1})
        for (const int south : {0, 1}) {
            double column = 0;
            double row = 0;
            KxTileFetcher::GetColRow(column,
                                     row,
                                     scheme,
                                     (x + east) * span - kHalfWorld,
                                     kHalfWorld - (y + south) * span,
                                     level,
                                     datum);
            block.m_minRow = std::min(block.m_minRow, static_cast<int>(row) - 1);
            block.m_maxRow = std::max(block.m_maxRow, static_cast<int>(row) + 1);
            block.m_minCol = std::min(block.m_minCol, static_cast<int>(column) - 1);
            block.m_maxCol = std::max(block.m_maxCol, static_cast<int>(column) + 1);
        }
    block.m_minRow = std::max(block.m_minRow, 0);
    block.m_minCol = std::max(block.m_minCol, 0);
    return block;
}

} // namespace

StoredSource::StoredSource(int scheme, int datum, int x, int y, int z, int level)
    : m_cachePathBefore(KxFile::m_strAppCachePath),
      m_block(BlockUnder(scheme, datum, x, y, z, level))
{
    KxFile::m_strAppCachePath = m_folder.Path().c_str();
    m_item.LoadFromParam(
        "http://127.0.0.1:9/{$z}/{$x}/{$y}", "", scheme, datum, 1, 0, 256, "", 0, KxTime());
    KxTileFetcher::m_sbLocalCacheUsed = 1;
    for (int row = m_block.m_minRow; row <= m_block.m_maxRow; ++row)
        for (int col = m_block.m_minCol; col <= m_block.m_maxCol; ++col) {
            Bytes file = FileAt(row, col);
            KxTileFetcher::SaveToLocalCache(m_item.m_strHashKey,
                                            level,
                                            row,
                                            col,
                                            file.data(),
                                            static_cast<unsigned int>(file.size()));
        }
}

StoredSource::~StoredSource()
{
    KxTileFetcher::m_sbLocalCacheUsed = 0;
    KxTileFetcher::m_sbMemCacheUsed = 1;
    KxFile::m_strAppCachePath = m_cachePathBefore;
}

const Bytes& StoredSource::FileAt(int row, int col) const
{
    return Files()[PictureAt(row, col)];
}

const Bytes& StoredSource::PixelsAt(int row, int col) const
{
    return ImageBench::Tiles().tiles[PictureAt(row, col)];
}

} // namespace KxC::RetrievalBench
