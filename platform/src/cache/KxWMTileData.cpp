// SPDX-License-Identifier: MIT
#include "KxWMTileDataCache.h"

namespace KxC {

namespace {

/// What the cache itself spends on a tile: entry, place in the table and in the order of use.
/// Counting it keeps a cache full of empty tiles within the budget too.
constexpr std::size_t kBookkeepingBytes = 256;

} // namespace

KxWMTileData::KxWMTileData(int level, int row, int col) : m_nLevel(level), m_nRow(row), m_nCol(col)
{
}

KxWMTileData::~KxWMTileData() = default;

int KxWMTileData::GetLevel() const
{
    return m_nLevel;
}

int KxWMTileData::GetRow() const
{
    return m_nRow;
}

int KxWMTileData::GetCol() const
{
    return m_nCol;
}

std::size_t KxWMTileData::GetByteCount() const
{
    return sizeof(*this) + kBookkeepingBytes;
}

KxWMImageTileData::KxWMImageTileData(int level, int row, int col, KxImageData* image)
    : KxWMTileData(level, row, col), m_image(image)
{
}

KxWMImageTileData::~KxWMImageTileData() = default;

KxImageData* KxWMImageTileData::GetImage() const
{
    return m_image.get();
}

std::size_t KxWMImageTileData::GetByteCount() const
{
    const std::size_t own = KxWMTileData::GetByteCount();
    if (m_image == nullptr)
        return own;
    return own + sizeof(KxImageData) +
           static_cast<std::size_t>(m_image->GetRowBytes()) *
               static_cast<std::size_t>(m_image->GetHeight());
}

} // namespace KxC
