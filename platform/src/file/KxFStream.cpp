// SPDX-License-Identifier: MIT
#include "KxFStream.h"

#include <algorithm>
#include <new>
#include <utility>

namespace KxC {

namespace {

constexpr int kDirectionWrite = 1;
constexpr int kMaxBufferSize = 1 << 20; ///< bytes; more gains nothing

} // namespace

KxStream::~KxStream() = default;

KxFStream::KxFStream() : m_pFile(nullptr) {}

KxFStream::~KxFStream()
{
    if (m_pFile != nullptr)
        std::fclose(m_pFile);
}

unsigned char KxFStream::Open(const KxString& path, int direction, int bufferSize)
{
    if (m_pFile != nullptr)
        Close();
    if (direction != kDirectionWrite)
        return 0;
    m_pFile = std::fopen(path.Cstr(), "wbe");
    if (m_pFile == nullptr)
        return 0;
    // Without a buffer of ours the C library takes one of its own size, whatever size is asked.
    const auto size = static_cast<std::size_t>(std::clamp(bufferSize, 0, kMaxBufferSize));
    m_buffer.reset(size > 0 ? new (std::nothrow) char[size] : nullptr);
    if (m_buffer != nullptr)
        std::setvbuf(m_pFile, m_buffer.get(), _IOFBF, size);
    return 1;
}

unsigned char KxFStream::Save(const unsigned char* bytes, unsigned int count)
{
    if (m_pFile == nullptr || (bytes == nullptr && count > 0))
        return 0;
    return count == 0 || std::fwrite(bytes, 1, count, m_pFile) == count ? 1 : 0;
}

unsigned char KxFStream::Close()
{
    if (m_pFile == nullptr)
        return 0;
    // fclose fails too when an earlier buffered write did not reach the file.
    const bool failedBefore = std::ferror(m_pFile) != 0;
    const bool closed = std::fclose(std::exchange(m_pFile, nullptr)) == 0;
    return closed && !failedBefore ? 1 : 0;
}

} // namespace KxC
