// SPDX-License-Identifier: MIT
#include "MallocBuffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace KxC::Http {

namespace {

constexpr std::size_t kFirstCapacity = std::size_t{16} << 10;

} // namespace

MallocBuffer::MallocBuffer(MallocBuffer&& other) noexcept
    : m_bytes(std::move(other.m_bytes)), m_size(std::exchange(other.m_size, 0)),
      m_capacity(std::exchange(other.m_capacity, 0))
{
}

MallocBuffer& MallocBuffer::operator=(MallocBuffer&& other) noexcept
{
    m_bytes = std::move(other.m_bytes);
    m_size = std::exchange(other.m_size, 0);
    m_capacity = std::exchange(other.m_capacity, 0);
    return *this;
}

bool MallocBuffer::Reserve(std::size_t capacity)
{
    return capacity <= m_capacity || Resize(capacity);
}

bool MallocBuffer::Append(const void* bytes, std::size_t count)
{
    if (count == 0)
        return true;
    if (count > m_capacity - m_size &&
        !Reserve(std::max({m_size + count, 2 * m_capacity, kFirstCapacity})))
        return false;
    std::memcpy(m_bytes.get() + m_size, bytes, count);
    m_size += count;
    return true;
}

void MallocBuffer::Trim()
{
    if (m_size > 0 && m_capacity - m_size > m_size / 4)
        Resize(m_size);
}

void MallocBuffer::Clear()
{
    m_bytes.reset();
    m_size = 0;
    m_capacity = 0;
}

unsigned char* MallocBuffer::Release()
{
    if (m_size == 0)
        Clear();
    m_size = 0;
    m_capacity = 0;
    return m_bytes.release();
}

bool MallocBuffer::Resize(std::size_t capacity)
{
    void* const moved = std::realloc(m_bytes.get(), capacity);
    if (moved == nullptr)
        return false;
    static_cast<void>(m_bytes.release());
    m_bytes.reset(static_cast<unsigned char*>(moved));
    m_capacity = capacity;
    return true;
}

} // namespace KxC::Http
