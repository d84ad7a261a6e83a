// SPDX-License-Identifier: MIT
#pragma once

#include "DirectoryCache.h"
#include "KxPmTiles.h"
#include "PackFile.h"
#include "TilePack.h"

namespace KxC {

/// PMTiles, version 3. The order of tiles and leaves in the file does not matter.
class PmTilesPack : public TilePack
{
public:
    /// @throws PackError
    explicit PmTilesPack(PackFile file);

    bool Read(const TileAddress& address, TileBytes& bytes) override;

private:
    class BlockFinder;

    void ReadHeader();
    /// By the directories: headers may say anything.
    void FindLevels();
    void FindBounds();
    /// @throws PackError
    std::shared_ptr<const Directory> ReadDirectory(const KxPmTilesSection& section) const;
    std::shared_ptr<const Directory> Leaf(const KxPmTilesEntry& entry);
    /// The last tile of all.
    unsigned long long LastTileId();
    /// The entry of a tile, without m_nLength when there is none.
    KxPmTilesEntry Find(unsigned long long id);

    PackFile m_file;
    KxPmTilesHeader m_header;
    std::shared_ptr<const Directory> m_root;
    DirectoryCache m_leaves;
};

} // namespace KxC
