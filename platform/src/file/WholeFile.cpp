// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "KxFileSizeGuard.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <span>
#include <system_error>
#include <utility>

namespace KxC {

namespace {

using ByteSpan = std::span<const unsigned char>;

bool WriteAll(int file, ByteSpan bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count == 0 || (count < 0 && errno != EINTR))
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

/// A file under a name of its own; gone again unless it was renamed.
class TemporaryFile
{
public:
    /// @param neighbour  path in whose folder the file is made, so that a rename stays one step
    explicit TemporaryFile(const KxString& neighbour)
    {
        constexpr int kTries = 100;
        const KxString folder = FolderPrefix(neighbour);
        for (int i = 0; i < kTries && m_file < 0; ++i) {
            m_name = folder + UniqueName();
            m_file = ::open(m_name.Cstr(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            // A killed process with our number may have left one.
            if (m_file < 0 && errno != EEXIST)
                return;
        }
    }

    ~TemporaryFile()
    {
        const bool made = m_file >= 0 || m_closed;
        if (m_file >= 0)
            ::close(m_file);
        if (made && !m_renamed)
            ::unlink(m_name.Cstr());
    }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    bool Write(ByteSpan bytes) const { return m_file >= 0 && WriteAll(m_file, bytes); }
    bool SetMode(mode_t mode) const { return ::fchmod(m_file, mode) == 0; }

    bool RenameTo(const KxString& path)
    {
        m_closed = true;
        m_renamed =
            ::close(std::exchange(m_file, -1)) == 0 && std::rename(m_name.Cstr(), path.Cstr()) == 0;
        return m_renamed;
    }

private:
    static KxString FolderPrefix(const KxString& path)
    {
        const KxString folder = KxFile::GetDir(path);
        return folder.IsEmpty() || folder == "/" ? folder : folder + "/";
    }

    static KxString UniqueName()
    {
        static std::atomic<unsigned int> count{0};
        KxString name;
        name.Format(".kxtile-%ld-%u.tmp",
                    static_cast<long>(::getpid()),
                    count.fetch_add(1, std::memory_order_relaxed));
        return name;
    }

    KxString m_name;
    int m_file = -1;
    bool m_closed = false;
    bool m_renamed = false;
};

/// Writes to what is no file, a pipe or a device, and must not be replaced by one.
bool WriteInto(const KxString& path, ByteSpan bytes)
{
    const int file = ::open(path.Cstr(), O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool written = WriteAll(file, bytes);
    return ::close(file) == 0 && written;
}

} // namespace

unsigned char KxFile::SaveWhole(const KxString& path, const unsigned char* bytes, std::size_t size)
try {
    const KxFileSizeGuard guard;
    const ByteSpan span(bytes, size);
    std::error_code error;
    const auto target = std::filesystem::canonical(path.Cstr(), error);
    const KxString name = error ? path : KxString(target.c_str());
    struct stat before = {};
    const bool exists = ::stat(name.Cstr(), &before) == 0;
    if (exists && !S_ISREG(before.st_mode))
        return WriteInto(name, span) ? 1 : 0;
    TemporaryFile file(name);
    return file.Write(span) && (!exists || file.SetMode(before.st_mode & 07777)) &&
                   file.RenameTo(name)
               ? 1
               : 0;
} catch (const std::exception&) {
    return 0;
}

} // namespace KxC
