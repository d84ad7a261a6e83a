// SPDX-License-Identifier: MIT
#include "PmTilesPack.h"

#include "PackBounds.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace KxC {

namespace {

const char* FaultOf(const KxPmTilesHeader& header)
{
    if (header.m_eInternal != KxPmTilesCompression_None &&
        header.m_eInternal != KxPmTilesCompression_Gzip)
        return "its directories are compressed in another way than gzip";
    if (header.m_eType == KxPmTilesType_Mvt)
        return "its tiles are vectors, not pictures";
    if (header.m_eType != KxPmTilesType_Png && header.m_eType != KxPmTilesType_Jpeg &&
        header.m_eType != KxPmTilesType_Webp)
        return "its tiles are of another kind than PNG, JPEG and WebP";
    if (header.m_eTile != KxPmTilesCompression_None &&
        header.m_eTile != KxPmTilesCompression_Unknown)
        return "its pictures are compressed once more";
    return nullptr;
}

bool LiesIn(const KxPmTilesSection& section, const KxPmTilesEntry& entry)
{
    return entry.m_nLength <= section.m_nLength &&
           entry.m_nOffset <= section.m_nLength - entry.m_nLength;
}

int LevelOf(unsigned long long id)
{
    TileAddress address{};
    KxPmTiles::PlaceOf(id, address.m_nLevel, address.m_nRow, address.m_nCol);
    return address.m_nLevel;
}

} // namespace

/// Finds the block of the last level's tiles, as far as a bounded look at the directories goes.
class PmTilesPack::BlockFinder
{
public:
    explicit BlockFinder(PmTilesPack& pack) : m_pack(pack) {}

    /// @return nothing when there is too much to look at, or a part cannot be read
    std::optional<TileBlock> Find()
    try {
        Visit(*m_pack.m_root, 1);
        return MayGoOn() ? m_block : std::nullopt;
    } catch (const PackError&) {
        return std::nullopt;
    }

private:
    bool MayGoOn() const { return m_nTilesLeft > 0 && m_nLeavesLeft > 0; }

    void Visit(const Directory& directory, int depth)
    {
        for (const KxPmTilesEntry& entry : directory) {
            if (entry.IsLeaf() && depth < KxPmTiles::kMaxDepth && --m_nLeavesLeft > 0)
                Visit(*m_pack.Leaf(entry), depth + 1);
            for (unsigned int i = 0; i < entry.m_nRunLength && --m_nTilesLeft > 0; ++i)
                Extend(entry.m_nTileId + i);
            if (!MayGoOn())
                return;
        }
    }

    void Extend(unsigned long long id)
    {
        TileAddress tile{};
        KxPmTiles::PlaceOf(id, tile.m_nLevel, tile.m_nRow, tile.m_nCol);
        if (tile.m_nLevel != m_pack.MaxLevel())
            return;
        if (!m_block)
            m_block = TileBlock{tile.m_nRow, tile.m_nRow, tile.m_nCol, tile.m_nCol};
        m_block->m_nMinRow = std::min(m_block->m_nMinRow, tile.m_nRow);
        m_block->m_nMaxRow = std::max(m_block->m_nMaxRow, tile.m_nRow);
        m_block->m_nMinCol = std::min(m_block->m_nMinCol, tile.m_nCol);
        m_block->m_nMaxCol = std::max(m_block->m_nMaxCol, tile.m_nCol);
    }

    PmTilesPack& m_pack;
    std::optional<TileBlock> m_block;
    // What may still be looked at.
    int m_nTilesLeft = 1000000;
    int m_nLeavesLeft = 64;
};

PmTilesPack::PmTilesPack(PackFile file) : m_file(std::move(file))
{
    ReadHeader();
    m_root = ReadDirectory(m_header.m_root);
    if (m_root->empty())
        throw PackError("it holds no tiles");
    FindLevels();
    FindBounds();
}

void PmTilesPack::ReadHeader()
{
    std::array<unsigned char, KxPmTiles::kHeaderBytes> bytes{};
    KxString error = "it cannot be read";
    const auto size =
        static_cast<unsigned int>(std::min<unsigned long long>(bytes.size(), m_file.Size()));
    if (!m_file.Read(0, {bytes.data(), size}) ||
        !KxPmTiles::ReadHeader(bytes.data(), size, m_file.Size(), m_header, error))
        throw PackError(error.Cstr());
    if (const char* const fault = FaultOf(m_header); fault != nullptr)
        throw PackError(fault);
}

void PmTilesPack::FindLevels()
{
    m_nMinLevel = LevelOf(m_root->front().m_nTileId);
    m_nMaxLevel = LevelOf(LastTileId());
    if (m_nMinLevel > m_nMaxLevel)
        throw PackError("its directories contradict each other");
}

unsigned long long PmTilesPack::LastTileId()
{
    std::shared_ptr<const Directory> directory = m_root;
    for (int depth = 1; directory->back().IsLeaf(); ++depth) {
        if (depth == KxPmTiles::kMaxDepth)
            throw PackError("its directories lie too deep in each other");
        directory = Leaf(directory->back());
        if (directory->empty())
            throw PackError("one of its directories is empty");
    }
    const KxPmTilesEntry& last = directory->back();
    return last.m_nTileId + last.m_nRunLength - 1;
}

void PmTilesPack::FindBounds()
{
    std::optional<KxRect2d> bounds = ClampBounds(m_header.m_bounds);
    if (!bounds)
        if (const std::optional<TileBlock> block = BlockFinder(*this).Find())
            bounds = BoundsOfTiles(m_nMaxLevel, *block);
    m_bounds = bounds.value_or(WorldBounds());
}

std::shared_ptr<const Directory> PmTilesPack::ReadDirectory(const KxPmTilesSection& section) const
{
    if (section.m_nLength > KxPmTiles::kMaxDirectoryBytes)
        throw PackError("a directory is too large");
    std::vector<unsigned char> bytes(static_cast<std::size_t>(section.m_nLength));
    KxString error = "a directory cannot be read";
    auto directory = std::make_shared<Directory>();
    if (!m_file.Read(section.m_nOffset, bytes) ||
        !KxPmTiles::ReadDirectory(bytes.data(),
                                  static_cast<unsigned int>(bytes.size()),
                                  m_header.m_eInternal,
                                  *directory,
                                  error))
        throw PackError(error.Cstr());
    return directory;
}

std::shared_ptr<const Directory> PmTilesPack::Leaf(const KxPmTilesEntry& entry)
{
    std::shared_ptr<const Directory> leaf = m_leaves.Find(entry.m_nOffset);
    if (leaf != nullptr)
        return leaf;
    if (!LiesIn(m_header.m_leaves, entry))
        throw PackError("a directory reaches beyond the directories' end");
    leaf = ReadDirectory({m_header.m_leaves.m_nOffset + entry.m_nOffset, entry.m_nLength});
    m_leaves.Keep(entry.m_nOffset, leaf);
    return leaf;
}

KxPmTilesEntry PmTilesPack::Find(unsigned long long id)
{
    std::shared_ptr<const Directory> directory = m_root;
    for (int depth = 1; depth <= KxPmTiles::kMaxDepth; ++depth) {
        const KxPmTilesEntry* const entry = KxPmTiles::FindEntry(*directory, id);
        if (entry == nullptr || !entry->IsLeaf())
            return entry != nullptr ? *entry : KxPmTilesEntry{};
        directory = Leaf(*entry);
    }
    throw PackError("its directories lie too deep in each other");
}

bool PmTilesPack::Read(const TileAddress& address, TileBytes& bytes)
{
    unsigned long long id = 0;
    if (!KxPmTiles::TileIdOf(address.m_nLevel, address.m_nRow, address.m_nCol, id))
        return false;
    const KxPmTilesEntry entry = Find(id);
    if (entry.m_nLength == 0)
        return false;
    if (entry.m_nLength > kMaxTileBytes || !LiesIn(m_header.m_tiles, entry))
        throw PackError("a tile is too large, or reaches beyond the tiles' end");
    bytes.Allocate(entry.m_nLength);
    if (!m_file.Read(m_header.m_tiles.m_nOffset + entry.m_nOffset, {bytes.Data(), bytes.Size()}))
        throw PackError("a tile cannot be read: the file is cut short, or its disk fails");
    return true;
}

} // namespace KxC
