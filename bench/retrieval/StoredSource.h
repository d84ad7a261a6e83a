// SPDX-License-Identifier: MIT
#pragma once

#include "KxTileFetcher.h"
#include "image/TilePictures.h"
#include "support/TempFolder.h"

#include <memory>

namespace KxC::RetrievalBench {

using ImageBench::Bytes;

/// Rows and columns of source tiles, last ones included; rows from the south.
struct Block
{
    int m_minRow;
    int m_minCol;
    int m_maxRow;
    int m_maxCol;

    int Rows() const { return m_maxRow - m_minRow + 1; }
    int Columns() const { return m_maxCol - m_minCol + 1; }
};

/// A source of 256-pixel JPEG tiles whose tiles under one output tile are in the disk cache, so
/// that nothing is asked of a network.
class StoredSource
{
public:
    /// @param level  of the source's tiles
    StoredSource(int scheme, int datum, int x, int y, int z, int level);
    ~StoredSource();
    StoredSource(const StoredSource&) = delete;
    StoredSource& operator=(const StoredSource&) = delete;

    KxTSDParamItem* Item() { return &m_item; }
    const Block& Tiles() const { return m_block; }
    /// The encoded tile at a place.
    const Bytes& FileAt(int row, int col) const;
    /// Its pixels, R, G, B rows from the south.
    const Bytes& PixelsAt(int row, int col) const;

private:
    TempFolder m_folder;
    KxString m_cachePathBefore;
    KxTSDParamItem m_item;
    Block m_block;
};

} // namespace KxC::RetrievalBench
