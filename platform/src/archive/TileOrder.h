// SPDX-License-Identifier: MIT
#pragma once

#include "SpoolFile.h"

#include <string>
#include <vector>

namespace KxC {

/// A tile that waits for its place.
struct WaitingTile
{
    unsigned long long m_nTileId;
    unsigned long long m_nNumber; ///< in the order in which tiles came
    unsigned long long m_nOffset; ///< of its bytes
    unsigned int m_nLength;
    unsigned int m_nUnused; ///< so that every byte that goes to a file is set
};

/// Brings tiles into the order of their ids, with memory for a million of them and files for the
/// rest. The operations throw ArchiveError.
class TileOrder
{
public:
    /// @param neighbour  path in whose folder files may be made
    /// @param atOnce     tiles that are sorted in memory
    explicit TileOrder(const std::string& neighbour, std::size_t atOnce = 1U << 20);

    void Add(const WaitingTile& tile);

    /// Hands over the tiles in the order of their ids, of each id the one that came last.
    template <typename Visitor>
    void Visit(Visitor visit)
    {
        Begin();
        WaitingTile tile{};
        WaitingTile next{};
        for (bool more = Next(tile); more; tile = next) {
            more = Next(next);
            if (!more || next.m_nTileId != tile.m_nTileId)
                visit(tile);
        }
    }

private:
    /// Part of a sorted stretch of the file.
    struct Stretch
    {
        unsigned long long m_nNext; ///< record that was not yet read
        unsigned long long m_nEnd;
        std::vector<WaitingTile> m_read;
        std::size_t m_nTaken;
    };

    static bool GoesBefore(const WaitingTile& one, const WaitingTile& other);
    bool IsAfter(std::size_t one, std::size_t other) const;
    void EndStretch();
    void Begin();
    bool Refill(Stretch& stretch);
    bool Next(WaitingTile& tile);

    const std::size_t m_nAtOnce;
    std::vector<WaitingTile> m_latest;
    RecordFile<WaitingTile> m_file;
    std::vector<Stretch> m_stretches;
    std::vector<std::size_t> m_heap; ///< stretches with tiles left, that of the first tile first
};

} // namespace KxC
