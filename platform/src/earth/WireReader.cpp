// SPDX-License-Identifier: MIT
#include "WireReader.h"

#include "EarthErrors.h"

#include <array>

namespace KxC::Earth {

namespace {

constexpr std::size_t kMaxGroupDepth = 32;
constexpr int kVarintBits = 64;

/// The kinds of values as a tag's lowest three bits name them.
enum Tag : std::uint32_t {
    kTagVarint = 0,
    kTagFixed64 = 1,
    kTagBytes = 2,
    kTagGroupStart = 3,
    kTagGroupEnd = 4,
    kTagFixed32 = 5,
};

std::uint32_t NumberOf(std::uint64_t tag)
{
    const std::uint64_t number = tag >> 3;
    if (number == 0 || number > 0x1FFFFFFF)
        throw DamagedAnswer("a field of a protobuf message has no valid number");
    return static_cast<std::uint32_t>(number);
}

/// The groups that are open, so that each end finds its own start.
class OpenGroups
{
public:
    void Open(std::uint32_t number)
    {
        if (m_depth == m_numbers.size())
            throw DamagedAnswer("protobuf groups lie too deep in each other");
        m_numbers[m_depth++] = number;
    }
    /// @return whether that was the outermost one
    bool Close(std::uint32_t number)
    {
        if (m_numbers[--m_depth] != number)
            throw DamagedAnswer("a protobuf group ends with another one's tag");
        return m_depth == 0;
    }

private:
    std::array<std::uint32_t, kMaxGroupDepth> m_numbers{};
    std::size_t m_depth = 0;
};

} // namespace

bool WireReader::Next(WireField& field)
{
    if (m_rest.empty())
        return false;
    const std::uint64_t tag = Varint();
    field = {};
    field.m_number = NumberOf(tag);
    switch (tag & 7) {
    case kTagVarint:
        field.m_value = Varint();
        return true;
    case kTagFixed64:
        field.m_value = FixedWidth(8);
        return true;
    case kTagFixed32:
        field.m_value = FixedWidth(4);
        return true;
    case kTagBytes:
        field.m_bytes = LengthPrefixed();
        break;
    case kTagGroupStart:
        field.m_bytes = Group(field.m_number);
        break;
    default:
        throw DamagedAnswer("a protobuf field is of no known kind");
    }
    field.m_type = WireType::Bytes;
    return true;
}

bool WireReader::NextPacked(std::uint64_t& value)
{
    if (m_rest.empty())
        return false;
    value = Varint();
    return true;
}

std::uint64_t WireReader::Varint()
{
    std::uint64_t value = 0;
    for (int shift = 0; shift < kVarintBits; shift += 7) {
        const unsigned char byte = Take(1)[0];
        value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
        if ((byte & 0x80) == 0)
            return value;
    }
    throw DamagedAnswer("a protobuf number does not end");
}

std::uint64_t WireReader::FixedWidth(std::size_t width)
{
    const ByteView bytes = Take(width);
    const std::uint64_t low = ReadU32(bytes, 0);
    return width == 4 ? low : low | static_cast<std::uint64_t>(ReadU32(bytes, 4)) << 32;
}

ByteView WireReader::Take(std::size_t size)
{
    if (size > m_rest.size())
        throw DamagedAnswer("a protobuf message is cut off");
    const ByteView taken = m_rest.first(size);
    m_rest = m_rest.subspan(size);
    return taken;
}

ByteView WireReader::LengthPrefixed()
{
    const std::uint64_t size = Varint();
    if (size > m_rest.size())
        throw DamagedAnswer("a protobuf field is longer than its message");
    return Take(static_cast<std::size_t>(size));
}

/// What stands between a group's start, which has been read, and its end.
ByteView WireReader::Group(std::uint32_t number)
{
    const ByteView start = m_rest;
    OpenGroups open;
    open.Open(number);
    for (;;) {
        const std::size_t content = start.size() - m_rest.size();
        const std::uint64_t tag = Varint();
        const std::uint32_t inner = NumberOf(tag);
        const auto kind = static_cast<std::uint32_t>(tag & 7);
        if (kind == kTagGroupStart)
            open.Open(inner);
        else if (kind != kTagGroupEnd)
            SkipValue(kind);
        else if (open.Close(inner))
            return start.first(content);
    }
}

void WireReader::SkipValue(std::uint32_t wireType)
{
    switch (wireType) {
    case kTagVarint:
        Varint();
        return;
    case kTagFixed64:
        Take(8);
        return;
    case kTagFixed32:
        Take(4);
        return;
    case kTagBytes:
        LengthPrefixed();
        return;
    default:
        throw DamagedAnswer("a protobuf field is of no known kind");
    }
}

} // namespace KxC::Earth
