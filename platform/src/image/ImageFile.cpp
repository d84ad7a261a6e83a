// SPDX-License-Identifier: MIT
#include "ImageCodecs.h"
#include "KxFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <utility>

namespace KxC::Imaging {

namespace {

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

    bool Write(ByteSpan bytes)
    {
        while (m_file >= 0 && !bytes.empty()) {
            const ssize_t count = ::write(m_file, bytes.data(), bytes.size());
            if (count < 0 && errno != EINTR)
                return false;
            bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
        return m_file >= 0;
    }

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

bool WriteFileWhole(const KxString& path, ByteSpan bytes)
{
    TemporaryFile file(path);
    return file.Write(bytes) && file.RenameTo(path);
}

} // namespace KxC::Imaging
