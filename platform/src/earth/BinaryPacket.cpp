// SPDX-License-Identifier: MIT
#include "EarthErrors.h"
#include "QuadPacket.h"

#include <utility>

namespace KxC::Earth {

namespace {

constexpr std::uint32_t kMagic = 32301;
constexpr std::size_t kHeaderBytes = 32;
constexpr std::size_t kInstanceBytes = 32;

enum HeaderOffset : std::size_t {
    kMagicAt = 0,
    kTypeAt = 4,
    kVersionAt = 8,
    kCountAt = 12,
    kInstanceSizeAt = 16,
    kDataOffsetAt = 20,
    kDataSizeAt = 24,
    kMetaSizeAt = 28,
};

enum InstanceOffset : std::size_t {
    kFlagsAt = 0,
    kPacketVersionAt = 2,
    kImageVersionAt = 4,
};

enum Flag : unsigned char {
    kFlagPacketBelow = 0x10,
    kFlagImage = 0x40,
};

/// The number of instances of a packet whose header agrees with its length.
std::size_t CheckedCount(ByteView bytes)
{
    // Sums in 64 bits cannot wrap: the parts are numbers of 32.
    const std::uint64_t count = ReadU32(bytes, kCountAt);
    const std::uint64_t dataOffset = ReadU32(bytes, kDataOffsetAt);
    const std::uint64_t total =
        dataOffset + ReadU32(bytes, kDataSizeAt) + ReadU32(bytes, kMetaSizeAt);
    if (ReadU32(bytes, kTypeAt) != 1 || ReadU32(bytes, kVersionAt) != 2 ||
        ReadU32(bytes, kInstanceSizeAt) != kInstanceBytes)
        throw DamagedAnswer("a quadtree packet is of an unknown make");
    if (count > SubIndex::kCount)
        throw DamagedAnswer("a quadtree packet has more nodes than its levels");
    if (dataOffset != kHeaderBytes + kInstanceBytes * count || total != bytes.size())
        throw DamagedAnswer("a quadtree packet's header and length do not agree");
    return static_cast<std::size_t>(count);
}

QuadNode ReadInstance(ByteView instance)
{
    const unsigned flags = instance[kFlagsAt];
    QuadNode node;
    node.m_hasPacket = (flags & kFlagPacketBelow) != 0;
    node.m_packetVersion = ReadU16(instance, kPacketVersionAt);
    node.m_hasImage = (flags & kFlagImage) != 0;
    node.m_imageVersion = node.m_hasImage ? ReadU16(instance, kImageVersionAt) : 0;
    return node;
}

/// Instances stand depth first, and children that are not there have none.
class DepthFirst
{
public:
    explicit DepthFirst(ByteView bytes)
        : m_rest(bytes.subspan(kHeaderBytes, CheckedCount(bytes) * kInstanceBytes))
    {
    }

    /// Reads the next instance as this node, then those below it.
    void Read(QuadPacket& packet, SubIndex index)
    {
        if (m_rest.empty())
            throw DamagedAnswer("a quadtree packet promises more nodes than it has");
        const ByteView instance = m_rest.first(kInstanceBytes);
        m_rest = m_rest.subspan(kInstanceBytes);
        QuadNode node = ReadInstance(instance);
        // Children of the lowest level, and of a node with a packet of its own, stand elsewhere.
        const bool ends = node.m_hasPacket || index.Depth() == index.MaxDepth();
        packet.Add(index.Value(), std::move(node));
        for (int digit = 0; digit < 4 && !ends; ++digit)
            if ((instance[kFlagsAt] >> digit & 1) != 0)
                Read(packet, index.Child(digit));
    }

private:
    ByteView m_rest;
};

} // namespace

bool IsBinaryPacket(ByteView bytes)
{
    return bytes.size() >= kHeaderBytes && ReadU32(bytes, kMagicAt) == kMagic;
}

QuadPacket ReadBinaryPacket(ByteView bytes, bool isRootPacket)
{
    if (!IsBinaryPacket(bytes))
        throw DamagedAnswer("a quadtree packet does not begin as one");
    QuadPacket packet;
    DepthFirst(bytes).Read(packet, SubIndex::Top(isRootPacket));
    return packet;
}

} // namespace KxC::Earth
