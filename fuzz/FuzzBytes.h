// SPDX-License-Identifier: MIT
#pragma once

#include "KxString.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace KxC::Fuzz {

inline KxString TextOf(const std::uint8_t* bytes, std::size_t size)
{
    return {reinterpret_cast<const char*>(bytes), static_cast<int>(size)};
}

/// Takes arguments off the front of an input; at its end they are 0 and empty.
class ByteSource
{
public:
    ByteSource(const std::uint8_t* bytes, std::size_t size) : m_next(bytes), m_left(size) {}

    int Byte()
    {
        if (m_left == 0)
            return 0;
        --m_left;
        return *m_next++;
    }
    /// A small number, or one out of the whole range.
    int Number()
    {
        constexpr int kWhole = 255;
        const int first = Byte();
        if (first != kWhole)
            return first - 64;
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8U | static_cast<std::uint32_t>(Byte());
        return static_cast<int>(value);
    }
    /// Up to the next line end.
    KxString Line()
    {
        const std::string_view all(reinterpret_cast<const char*>(m_next), m_left);
        const std::size_t length = std::min(all.find('\n'), all.size());
        const KxString line = TextOf(m_next, length);
        Skip(std::min(length + 1, m_left));
        return line;
    }

private:
    void Skip(std::size_t count)
    {
        m_next += count;
        m_left -= count;
    }

    const std::uint8_t* m_next;
    std::size_t m_left;
};

} // namespace KxC::Fuzz
