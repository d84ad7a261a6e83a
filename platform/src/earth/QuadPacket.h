// SPDX-License-Identifier: MIT
#pragma once

#include "Bytes.h"
#include "DateKey.h"
#include "QuadPath.h"

#include <vector>

namespace KxC::Earth {

/// Imagery of one day at a node.
struct DatedImage
{
    DateKey m_date = 0;
    std::uint32_t m_version = 0;
    /// 0: it is the current imagery of the default database, and is asked for there.
    std::uint32_t m_provider = 0;
};

/// What a quadtree packet tells of one tile. Versions that are not given are 0.
struct QuadNode
{
    bool m_hasPacket = false;           ///< another packet describes what lies below
    std::uint32_t m_packetVersion = 0;  ///< of that packet
    bool m_hasImage = false;            ///< current imagery
    std::uint32_t m_imageVersion = 0;   ///< of it
    bool m_hasHistory = false;          ///< dated imagery, though perhaps of no usable day
    std::vector<DatedImage> m_dated;    ///< newest first
    std::vector<DateKey> m_coarseDates; ///< days that only coarser levels have
};

/// A quadtree packet: the nodes of four levels (the root packet: levels 0 to 3).
/// Threads: const use may be shared.
class QuadPacket
{
public:
    /// Adds a node.
    /// @throws DamagedAnswer for a number outside the packet, or one that is there already
    void Add(int subIndex, QuadNode node);

    /// @return null where the packet has no such node
    const QuadNode* Find(SubIndex index) const;

    /// The memory that it takes, about.
    std::size_t ByteSize() const;

private:
    /// By number; a number that is not there stays 0, else it is the node's place plus 1.
    std::vector<std::uint16_t> m_places;
    std::vector<QuadNode> m_nodes;
};

/// Reads an inflated quadtree packet of either form; the form shows in its first bytes.
/// @param isRootPacket  the one that describes levels 0 to 3
/// @throws DamagedAnswer, std::bad_alloc
QuadPacket ReadQuadPacket(ByteView bytes, bool isRootPacket);

/// The two forms, each alone.
QuadPacket ReadBinaryPacket(ByteView bytes, bool isRootPacket);
QuadPacket ReadProtobufPacket(ByteView bytes);
bool IsBinaryPacket(ByteView bytes);

} // namespace KxC::Earth
