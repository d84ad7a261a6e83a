// SPDX-License-Identifier: MIT
#include "EarthFaults.h"

#include "EarthCipher.h"
#include "ProtoWriter.h"

#include <algorithm>

namespace KxOrigin {

namespace {

constexpr std::size_t kBombSize = std::size_t{32} << 20; ///< bytes
constexpr int kNesting = 100000;
constexpr std::size_t kPackedHeader = 8; ///< magic and size

void Halve(Bytes& bytes)
{
    bytes.resize(bytes.size() / 2);
}

void SetLittleEndian(Bytes& bytes, std::size_t offset, std::uint32_t value)
{
    Bytes written;
    AppendLittleEndian(written, value, 4);
    std::copy(written.begin(), written.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

/// Groups in groups; a reader that calls itself for each runs out of stack.
Bytes DeepMessage(int field)
{
    ProtoWriter writer;
    for (int i = 0; i < kNesting; ++i)
        writer.StartGroup(field);
    for (int i = 0; i < kNesting; ++i)
        writer.EndGroup(field);
    return writer.Result();
}

/// Each node has one child.
Bytes DeepBinaryPacket()
{
    return WriteBinaryPacket(
        std::vector<EarthNode>(kNesting, EarthNode{"", kEarthHasImagery | 1, 0, 9}));
}

/// A field that is longer than any buffer.
Bytes OverlongField(int field)
{
    ProtoWriter writer;
    writer.Text(field, "");
    Bytes bytes = writer.Result();
    bytes.pop_back();
    bytes.insert(bytes.end(), {0xFF, 0xFF, 0xFF, 0xFF, 0x07});
    return bytes;
}

void CountTooMany(Bytes& content, EarthDatabase database)
{
    constexpr std::size_t kCountOffset = 12;
    if (database == EarthDatabase::Current) {
        SetLittleEndian(content, kCountOffset, 0x7FFFFFFF);
        return;
    }
    // Behind the last node, so that what stands before is whole.
    const Bytes field = OverlongField(4);
    content.insert(content.end(), field.begin(), field.end());
}

} // namespace

void BreakNodes(std::vector<EarthNode>& nodes, EarthFault fault)
{
    if (fault == EarthFault::Missing)
        nodes.resize(1);
}

void BreakPacket(Bytes& content, EarthFault fault, EarthDatabase database)
{
    if (fault == EarthFault::Counts)
        CountTooMany(content, database);
    if (fault == EarthFault::Deep)
        content = database == EarthDatabase::Current ? DeepBinaryPacket() : DeepMessage(2);
}

void BreakMessage(Bytes& content, EarthFault fault)
{
    constexpr int kUnknownField = 100;
    if (fault == EarthFault::Deep)
        content = DeepMessage(kUnknownField);
    if (fault == EarthFault::Counts)
        content = OverlongField(2);
    if (fault == EarthFault::Half)
        Halve(content);
}

void BreakPacked(Bytes& packed, EarthFault fault)
{
    constexpr std::size_t kSizeOffset = 4;
    switch (fault) {
    case EarthFault::WrongMagic:
        SetLittleEndian(packed, 0, 0x7468DEAE);
        break;
    case EarthFault::WrongSize:
        ++packed[kSizeOffset];
        break;
    case EarthFault::HugeSize:
        SetLittleEndian(packed, kSizeOffset, 0xFFFFFFF0);
        break;
    case EarthFault::ShortStream:
        packed.resize(kPackedHeader + (packed.size() - kPackedHeader) / 2);
        break;
    case EarthFault::Bomb:
        packed = PackEarth(Bytes(kBombSize), false);
        break;
    case EarthFault::HiddenBomb:
        packed = PackEarth(Bytes(kBombSize), false);
        SetLittleEndian(packed, kSizeOffset, 1024);
        break;
    default:
        break;
    }
}

void BreakAnswer(Bytes& answer, EarthFault fault)
{
    constexpr std::uint64_t kNoiseSeed = 4711;
    if (fault == EarthFault::Truncated)
        Halve(answer);
    if (fault == EarthFault::Empty)
        answer.clear();
    if (fault == EarthFault::Noise)
        answer = MakeEarthKey(kNoiseSeed);
}

std::vector<EarthNode> EndlessNodes(bool isRootPacket)
{
    constexpr int kAllChildren = 0xF;
    const std::size_t depth = isRootPacket ? 3 : 4;
    std::vector<EarthNode> nodes;
    const auto collect = [&](const auto& self, const std::string& digits) -> void {
        const bool isLeaf = digits.size() == depth;
        nodes.push_back({digits,
                         kEarthHasImagery | (isLeaf ? kEarthHasPacket : kAllChildren),
                         isLeaf ? 1 : 0,
                         1});
        for (char digit = '0'; !isLeaf && digit <= '3'; ++digit)
            self(self, digits + digit);
    };
    collect(collect, "");
    return nodes;
}

} // namespace KxOrigin
