// SPDX-License-Identifier: MIT
#include "ByteSinks.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace KxC::Imaging {

bool MemorySink::Reserve(std::size_t wanted)
{
    if (wanted <= m_capacity)
        return true;
    const std::size_t capacity = std::max(wanted, m_capacity + m_capacity / 2);
    void* const grown = std::realloc(m_content.bytes.get(), capacity);
    if (grown == nullptr)
        return false;
    static_cast<void>(m_content.bytes.release());
    m_content.bytes.reset(static_cast<unsigned char*>(grown));
    m_capacity = capacity;
    return true;
}

bool MemorySink::WriteAt(std::uint64_t place, ByteSpan bytes)
{
    const std::size_t end = static_cast<std::size_t>(place) + bytes.size();
    if (!Reserve(end))
        return false;
    unsigned char* const content = m_content.bytes.get();
    if (place > m_content.size)
        std::fill(content + m_content.size, content + place, static_cast<unsigned char>(0));
    if (!bytes.empty())
        std::memcpy(content + place, bytes.data(), bytes.size());
    m_content.size = std::max(m_content.size, end);
    return true;
}

Encoded MemorySink::Take()
{
    ShrinkToSize(m_content);
    m_capacity = 0;
    return std::exchange(m_content, {});
}

bool FileSink::WriteAt(std::uint64_t place, ByteSpan bytes)
{
    if (m_file.WriteAt(place, bytes.data(), bytes.size()) == 0)
        return false;
    m_size = std::max(m_size, place + bytes.size());
    return true;
}

} // namespace KxC::Imaging
