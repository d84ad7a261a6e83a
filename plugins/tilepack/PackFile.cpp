// SPDX-License-Identifier: MIT
#include "PackFile.h"

#include "TilePack.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <system_error>
#include <utility>

namespace KxC {

// Opening a pipe would wait for a writer, if it was not told not to.
PackFile::PackFile(const std::string& path)
    : m_nFile(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
{
    if (m_nFile < 0)
        throw PackError("it cannot be opened: " + std::generic_category().message(errno));
    struct stat status = {};
    if (::fstat(m_nFile, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(m_nFile);
        throw PackError("it is no file");
    }
    m_nSize = static_cast<unsigned long long>(status.st_size);
}

PackFile::PackFile(PackFile&& other) noexcept
    : m_nFile(std::exchange(other.m_nFile, -1)), m_nSize(other.m_nSize)
{
}

PackFile::~PackFile()
{
    if (m_nFile >= 0)
        ::close(m_nFile);
}

bool PackFile::Read(unsigned long long offset, std::span<unsigned char> bytes) const
{
    constexpr auto kFarthest = static_cast<unsigned long long>(std::numeric_limits<off_t>::max());
    if (bytes.size() > kFarthest || offset > kFarthest - bytes.size())
        return false;
    while (!bytes.empty()) {
        const ssize_t count =
            ::pread(m_nFile, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        offset += static_cast<unsigned long long>(count);
    }
    return true;
}

} // namespace KxC
