// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace KxC::Http {

/// Growing bytes in malloc memory, so that they can be handed over without a copy.
/// Threads: separate objects are independent; const use of one object may be shared.
class MallocBuffer
{
public:
    MallocBuffer() = default;
    MallocBuffer(MallocBuffer&& other) noexcept;
    MallocBuffer& operator=(MallocBuffer&& other) noexcept;

    /// Makes room for `capacity` bytes in all. Never throws.
    /// @return false when there is no memory; the content stays as it was
    bool Reserve(std::size_t capacity);
    /// Appends bytes, growing geometrically. Never throws.
    /// @return false when there is no memory; the content stays as it was
    bool Append(const void* bytes, std::size_t count);
    /// Gives back room that a quarter of the content would not fill.
    void Trim();
    /// Frees the bytes.
    void Clear();
    /// Hands the bytes over: the caller frees them with free(). Null when there are none.
    unsigned char* Release();

    const unsigned char* Data() const { return m_bytes.get(); }
    std::size_t Size() const { return m_size; }

private:
    struct Free
    {
        void operator()(unsigned char* bytes) const { std::free(bytes); }
    };
    bool Resize(std::size_t capacity);

    std::unique_ptr<unsigned char, Free> m_bytes;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace KxC::Http
