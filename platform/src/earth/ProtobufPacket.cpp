// SPDX-License-Identifier: MIT
#include "EarthErrors.h"
#include "QuadPacket.h"
#include "WireReader.h"

#include <algorithm>
#include <utility>

namespace KxC::Earth {

namespace {

namespace PacketField {
constexpr std::uint32_t kSparseNode = 2; // a group
}
namespace SparseNodeField {
constexpr std::uint32_t kIndex = 3;
constexpr std::uint32_t kNode = 4;
} // namespace SparseNodeField
namespace NodeField {
constexpr std::uint32_t kFlags = 1;
constexpr std::uint32_t kPacketVersion = 2;
constexpr std::uint32_t kLayer = 3;
} // namespace NodeField
namespace LayerField {
constexpr std::uint32_t kType = 1;
constexpr std::uint32_t kVersion = 2;
constexpr std::uint32_t kDates = 4;
} // namespace LayerField
namespace DatesField {
constexpr std::uint32_t kDatedTile = 1;
constexpr std::uint32_t kCoarseDate = 3;
} // namespace DatesField
namespace DatedTileField {
constexpr std::uint32_t kDate = 1;
constexpr std::uint32_t kVersion = 2;
constexpr std::uint32_t kProvider = 3;
} // namespace DatedTileField

constexpr std::uint64_t kLayerImagery = 0;
constexpr std::uint64_t kLayerHistory = 3;
constexpr std::uint64_t kFlagPacketBelow = 0x10;

/// Versions and keys are positive where they mean anything; 0 stands for the rest.
std::uint32_t PositiveOr0(std::int32_t value)
{
    return value > 0 ? static_cast<std::uint32_t>(value) : 0;
}

DatedImage ReadDatedTile(ByteView message)
{
    DatedImage image;
    WireReader reader(message);
    for (WireField field; reader.Next(field);) {
        if (field.Is(DatedTileField::kDate, WireType::Number))
            image.m_date = PositiveOr0(field.AsInt32());
        if (field.Is(DatedTileField::kVersion, WireType::Number))
            image.m_version = PositiveOr0(field.AsInt32());
        if (field.Is(DatedTileField::kProvider, WireType::Number))
            image.m_provider = static_cast<std::uint32_t>(field.AsInt32());
    }
    return image;
}

void AddCoarseDate(QuadNode& node, std::uint64_t value)
{
    const DateKey date = PositiveOr0(static_cast<std::int32_t>(static_cast<std::uint32_t>(value)));
    if (IsDated(date))
        node.m_coarseDates.push_back(date);
}

/// Days stand one by one or packed.
void ReadCoarseDates(QuadNode& node, const WireField& field)
{
    if (field.m_type == WireType::Number)
        return AddCoarseDate(node, field.m_value);
    WireReader list(field.m_bytes);
    for (std::uint64_t value = 0; list.NextPacked(value);)
        AddCoarseDate(node, value);
}

void ReadDates(QuadNode& node, ByteView message)
{
    WireReader reader(message);
    for (WireField field; reader.Next(field);) {
        if (field.m_number == DatesField::kCoarseDate)
            ReadCoarseDates(node, field);
        if (!field.Is(DatesField::kDatedTile, WireType::Bytes))
            continue;
        const DatedImage image = ReadDatedTile(field.m_bytes);
        if (IsDated(image.m_date))
            node.m_dated.push_back(image);
    }
}

struct Layer
{
    std::uint64_t m_type = kLayerImagery;
    std::uint32_t m_version = 0;
    ByteView m_dates;
};

Layer ReadLayer(ByteView message)
{
    Layer layer;
    WireReader reader(message);
    for (WireField field; reader.Next(field);) {
        if (field.Is(LayerField::kType, WireType::Number))
            layer.m_type = field.m_value;
        if (field.Is(LayerField::kVersion, WireType::Number))
            layer.m_version = PositiveOr0(field.AsInt32());
        if (field.Is(LayerField::kDates, WireType::Bytes))
            layer.m_dates = field.m_bytes;
    }
    return layer;
}

void AddLayer(QuadNode& node, const Layer& layer)
{
    if (layer.m_type == kLayerImagery) {
        node.m_hasImage = true;
        node.m_imageVersion = layer.m_version;
    }
    if (layer.m_type == kLayerHistory) {
        node.m_hasHistory = true;
        ReadDates(node, layer.m_dates);
    }
}

/// A packet below shows by its flag, or only by its version.
void ReadNumber(QuadNode& node, const WireField& field)
{
    if (field.m_number == NodeField::kFlags && (field.m_value & kFlagPacketBelow) != 0)
        node.m_hasPacket = true;
    if (field.m_number == NodeField::kPacketVersion) {
        node.m_packetVersion = PositiveOr0(field.AsInt32());
        node.m_hasPacket = node.m_hasPacket || node.m_packetVersion > 0;
    }
}

QuadNode ReadNode(ByteView message)
{
    QuadNode node;
    WireReader reader(message);
    for (WireField field; reader.Next(field);) {
        if (field.m_type == WireType::Number)
            ReadNumber(node, field);
        else if (field.m_number == NodeField::kLayer)
            AddLayer(node, ReadLayer(field.m_bytes));
    }
    std::stable_sort(node.m_dated.begin(),
                     node.m_dated.end(),
                     [](const DatedImage& a, const DatedImage& b) { return a.m_date > b.m_date; });
    return node;
}

void ReadSparseNode(QuadPacket& packet, ByteView group)
{
    int index = 0;
    ByteView node;
    WireReader reader(group);
    for (WireField field; reader.Next(field);) {
        if (field.Is(SparseNodeField::kIndex, WireType::Number))
            index = field.AsInt32();
        if (field.Is(SparseNodeField::kNode, WireType::Bytes))
            node = field.m_bytes;
    }
    packet.Add(index, ReadNode(node));
}

} // namespace

QuadPacket ReadProtobufPacket(ByteView bytes)
{
    QuadPacket packet;
    WireReader reader(bytes);
    for (WireField field; reader.Next(field);)
        if (field.Is(PacketField::kSparseNode, WireType::Bytes))
            ReadSparseNode(packet, field.m_bytes);
    return packet;
}

} // namespace KxC::Earth
