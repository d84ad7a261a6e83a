// SPDX-License-Identifier: MIT
#include "QuadPacket.h"

#include "EarthErrors.h"

#include <utility>

namespace KxC::Earth {

void QuadPacket::Add(int subIndex, QuadNode node)
{
    if (subIndex < 0 || subIndex >= SubIndex::kCount)
        throw DamagedAnswer("a quadtree packet numbers a node that it cannot have");
    if (m_places.empty())
        m_places.resize(SubIndex::kCount);
    std::uint16_t& place = m_places[static_cast<std::size_t>(subIndex)];
    if (place != 0)
        throw DamagedAnswer("a quadtree packet has a node twice");
    m_nodes.push_back(std::move(node));
    place = static_cast<std::uint16_t>(m_nodes.size());
}

const QuadNode* QuadPacket::Find(SubIndex index) const
{
    const auto number = static_cast<std::size_t>(index.Value());
    if (number >= m_places.size() || m_places[number] == 0)
        return nullptr;
    return &m_nodes[m_places[number] - 1U];
}

std::size_t QuadPacket::ByteSize() const
{
    std::size_t size = sizeof *this + m_places.capacity() * sizeof m_places[0] +
                       m_nodes.capacity() * sizeof m_nodes[0];
    for (const QuadNode& node : m_nodes)
        size += node.m_dated.capacity() * sizeof(DatedImage) +
                node.m_coarseDates.capacity() * sizeof(DateKey);
    return size;
}

QuadPacket ReadQuadPacket(ByteView bytes, bool isRootPacket)
{
    return IsBinaryPacket(bytes) ? ReadBinaryPacket(bytes, isRootPacket)
                                 : ReadProtobufPacket(bytes);
}

} // namespace KxC::Earth
