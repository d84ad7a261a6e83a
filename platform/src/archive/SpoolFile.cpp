// SPDX-License-Identifier: MIT
#include "SpoolFile.h"

#include "TileArchive.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace KxC {

namespace {

constexpr std::size_t kBufferBytes = 1U << 20;

} // namespace

SpoolFile::SpoolFile(int file) : m_nFile(file)
{
    if (file < 0)
        ThrowErrno();
}

SpoolFile SpoolFile::Nameless(const std::string& neighbour)
{
    const NascentFile name(neighbour); // takes the name away again
    return Named(name.Name());
}

SpoolFile SpoolFile::Named(const std::string& path)
{
    return SpoolFile(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
}

SpoolFile::SpoolFile(SpoolFile&& other) noexcept
    : m_nFile(std::exchange(other.m_nFile, -1)), m_nWritten(other.m_nWritten),
      m_buffer(std::move(other.m_buffer))
{
}

SpoolFile::~SpoolFile()
{
    if (m_nFile >= 0)
        ::close(m_nFile);
}

void SpoolFile::Append(const void* bytes, std::size_t size)
{
    const auto* const first = static_cast<const unsigned char*>(bytes);
    if (size >= kBufferBytes) {
        Flush();
        Write(first, size);
        return;
    }
    if (m_buffer.size() + size > kBufferBytes)
        Flush();
    m_buffer.insert(m_buffer.end(), first, first + size);
}

void SpoolFile::Flush()
{
    Write(m_buffer.data(), m_buffer.size());
    m_buffer.clear();
}

void SpoolFile::Write(const unsigned char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t count = ::write(m_nFile, bytes, size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            ThrowErrno();
        bytes += count;
        size -= static_cast<std::size_t>(count);
        m_nWritten += static_cast<unsigned long long>(count);
    }
}

void SpoolFile::Read(unsigned long long offset, void* bytes, std::size_t size)
{
    if (offset + size > m_nWritten)
        Flush();
    auto* next = static_cast<unsigned char*>(bytes);
    while (size > 0) {
        const ssize_t count = ::pread(m_nFile, next, size, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            ThrowErrno();
        if (count == 0)
            throw ArchiveError("a temporary file was cut off");
        next += count;
        size -= static_cast<std::size_t>(count);
        offset += static_cast<unsigned long long>(count);
    }
}

} // namespace KxC
