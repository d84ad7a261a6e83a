// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "KxFileSizeGuard.h"
#include "KxWholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <system_error>
#include <utility>

namespace KxC {

namespace {

using ByteSpan = std::span<const unsigned char>;

/// Calls `write` (bytes) until all of them are written.
template <typename Write>
bool WriteAll(ByteSpan bytes, Write write)
{
    while (!bytes.empty()) {
        const ssize_t count = write(bytes);
        if (count == 0 || (count < 0 && errno != EINTR))
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

bool WriteNext(int file, ByteSpan bytes)
{
    return WriteAll(bytes,
                    [file](ByteSpan rest) { return ::write(file, rest.data(), rest.size()); });
}

bool WriteThere(int file, unsigned long long place, ByteSpan bytes)
{
    const unsigned char* const first = bytes.data();
    return WriteAll(bytes, [=](ByteSpan rest) {
        const auto offset = place + static_cast<unsigned long long>(rest.data() - first);
        return ::pwrite(file, rest.data(), rest.size(), static_cast<off_t>(offset));
    });
}

/// A file under a name of its own; gone again unless it was renamed.
class TemporaryFile
{
public:
    /// @param neighbour  path in whose folder the file is made, so that a rename stays one step
    /// @param mode       that it is made with, less what the process masks
    TemporaryFile(const KxString& neighbour, mode_t mode)
    {
        constexpr int kTries = 100;
        const KxString folder = FolderPrefix(neighbour);
        for (int i = 0; i < kTries && m_file < 0; ++i) {
            m_name = folder + UniqueName();
            m_file = ::open(m_name.Cstr(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
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

    int Handle() const { return m_file; }
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

} // namespace

class KxWholeFile::Implementation
{
public:
    explicit Implementation(const KxString& path) : m_name(TargetOf(path))
    {
        struct stat before = {};
        m_exists = ::stat(m_name.Cstr(), &before) == 0;
        m_mode = before.st_mode & 07777;
        if (m_exists && !S_ISREG(before.st_mode))
            // A pipe or a device, which must not be replaced by a file.
            m_direct = ::open(m_name.Cstr(), O_WRONLY | O_CLOEXEC);
        else
            // What replaces a file is nobody else's to read before it has that file's mode.
            m_temporary.emplace(m_name, m_exists ? 0600 : 0666);
        m_openError = errno;
    }
    ~Implementation()
    {
        if (m_direct >= 0)
            ::close(m_direct);
    }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    bool IsOpen() const { return m_direct >= 0 || IsSeekable(); }
    bool IsSeekable() const { return m_temporary && m_temporary->Handle() >= 0; }
    bool Write(ByteSpan bytes)
    {
        return m_direct >= 0 ? WriteNext(m_direct, bytes) : WriteAt(m_end, bytes);
    }
    bool WriteAt(unsigned long long place, ByteSpan bytes)
    {
        if (!IsSeekable())
            return SayWhyItDidNotOpen();
        if (!WriteThere(m_temporary->Handle(), place, bytes))
            return false;
        m_end = std::max(m_end, place + bytes.size());
        return true;
    }
    bool Finish()
    {
        if (m_direct >= 0)
            return ::close(std::exchange(m_direct, -1)) == 0;
        if (!IsSeekable())
            return SayWhyItDidNotOpen();
        return (!m_exists || m_temporary->SetMode(m_mode)) && m_temporary->RenameTo(m_name);
    }

private:
    /// What a link leads to; the path itself where nothing is there.
    static KxString TargetOf(const KxString& path)
    {
        std::error_code error;
        const auto target = std::filesystem::canonical(path.Cstr(), error);
        return error ? path : KxString(target.c_str());
    }

    bool SayWhyItDidNotOpen() const
    {
        errno = m_openError;
        return false;
    }

    KxString m_name;
    bool m_exists = false;
    mode_t m_mode = 0; ///< of what was there
    int m_openError = 0;
    int m_direct = -1; ///< what is no file
    std::optional<TemporaryFile> m_temporary;
    unsigned long long m_end = 0;
};

KxWholeFile::KxWholeFile(const KxString& path)
    : m_pImplementation(std::make_unique<Implementation>(path))
{
}

KxWholeFile::~KxWholeFile() = default;

unsigned char KxWholeFile::IsOpen() const
{
    return m_pImplementation->IsOpen() ? 1 : 0;
}

unsigned char KxWholeFile::IsSeekable() const
{
    return m_pImplementation->IsSeekable() ? 1 : 0;
}

unsigned char KxWholeFile::Write(const unsigned char* bytes, std::size_t size)
{
    const KxFileSizeGuard guard;
    return m_pImplementation->Write({bytes, size}) ? 1 : 0;
}

unsigned char
KxWholeFile::WriteAt(unsigned long long place, const unsigned char* bytes, std::size_t size)
{
    const KxFileSizeGuard guard;
    return m_pImplementation->WriteAt(place, {bytes, size}) ? 1 : 0;
}

unsigned char KxWholeFile::Finish()
{
    return m_pImplementation->Finish() ? 1 : 0;
}

unsigned char KxFile::SaveWhole(const KxString& path, const unsigned char* bytes, std::size_t size)
try {
    KxWholeFile file(path);
    return file.Write(bytes, size) != 0 && file.Finish() != 0 ? 1 : 0;
} catch (const std::exception&) {
    return 0;
}

} // namespace KxC
