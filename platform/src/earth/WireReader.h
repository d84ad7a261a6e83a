// SPDX-License-Identifier: MIT
#pragma once

#include "Bytes.h"

namespace KxC::Earth {

enum class WireType : unsigned char { Number, Bytes };

/// One field of a protobuf message.
struct WireField
{
    std::uint32_t m_number = 0;
    WireType m_type = WireType::Number;
    std::uint64_t m_value = 0; ///< of a varint or a fixed-width number
    ByteView m_bytes;          ///< of text, bytes, a message or what stands inside a group

    /// Whether it is this field, in the form that is read from it; another form is another field.
    bool Is(std::uint32_t number, WireType type) const
    {
        return m_number == number && m_type == type;
    }
    /// The value as a signed 32-bit number, as protobuf narrows it.
    std::int32_t AsInt32() const
    {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(m_value));
    }
};

/// Walks the fields of a protobuf message that somebody else wrote: every length is checked, groups
/// end at their own end tag and lie at most 32 deep, nothing is allocated.
class WireReader
{
public:
    explicit WireReader(ByteView message) : m_rest(message) {}

    /// The next field.
    /// @return false at the end of the message
    /// @throws DamagedAnswer when the bytes are no message
    bool Next(WireField& field);

    /// The next number of a packed list; the reader stands on the list's bytes.
    /// @return false at their end
    bool NextPacked(std::uint64_t& value);

private:
    std::uint64_t Varint();
    std::uint64_t FixedWidth(std::size_t width);
    ByteView Take(std::size_t size);
    ByteView LengthPrefixed();
    ByteView Group(std::uint32_t number);
    void SkipValue(std::uint32_t wireType);

    ByteView m_rest;
};

} // namespace KxC::Earth
