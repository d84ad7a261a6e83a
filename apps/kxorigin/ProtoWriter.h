// SPDX-License-Identifier: MIT
#pragma once

#include "Encoding.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace KxOrigin {

/// Writes a protobuf message field by field, in the order of the calls.
class ProtoWriter
{
public:
    void Number(int field, std::uint64_t value)
    {
        Tag(field, 0);
        Varint(value);
    }
    /// Texts and nested messages as well.
    void Data(int field, std::span<const unsigned char> data)
    {
        Tag(field, 2);
        Varint(data.size());
        m_bytes.insert(m_bytes.end(), data.begin(), data.end());
    }
    void Text(int field, std::string_view text) { Data(field, Bytes(text.begin(), text.end())); }
    void Message(int field, const ProtoWriter& message) { Data(field, message.m_bytes); }
    void StartGroup(int field) { Tag(field, 3); }
    void EndGroup(int field) { Tag(field, 4); }

    const Bytes& Result() const { return m_bytes; }

private:
    void Tag(int field, unsigned int wireType)
    {
        Varint(static_cast<std::uint64_t>(field) << 3 | wireType);
    }
    void Varint(std::uint64_t value)
    {
        for (; value >= 0x80; value >>= 7)
            m_bytes.push_back(static_cast<unsigned char>(value | 0x80));
        m_bytes.push_back(static_cast<unsigned char>(value));
    }

    Bytes m_bytes;
};

} // namespace KxOrigin
