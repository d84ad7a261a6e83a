// SPDX-License-Identifier: MIT
// The log: one file that any number of threads and processes append lines to.
#include "KxFile.h"
#include "KxFileSizeGuard.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>

namespace KxC {

namespace {

/// A file descriptor, closed at the end; the lock on it goes with it.
class LogFile
{
public:
    // A pipe in the log's place must neither hold the host up nor kill it.
    explicit LogFile(const std::string& path)
        : m_file(::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0644))
    {
    }
    ~LogFile()
    {
        if (m_file >= 0)
            ::close(m_file);
    }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    void Append(const std::string& text) const
    {
        struct stat status = {};
        if (m_file < 0 || ::fstat(m_file, &status) != 0 || !S_ISREG(status.st_mode))
            return;
        // The lock keeps a line whole that needs more than one write.
        Lock();
        const off_t end = ::lseek(m_file, 0, SEEK_END);
        if (WriteAll(text))
            ::fdatasync(m_file);
        else if (end >= 0 && ::ftruncate(m_file, end) != 0)
            return;
    }

private:
    void Lock() const
    {
        while (::flock(m_file, LOCK_EX) != 0 && errno == EINTR) {
        }
    }

    bool WriteAll(const std::string& text) const
    {
        std::size_t written = 0;
        while (written < text.size()) {
            const ssize_t count = ::write(m_file, text.data() + written, text.size() - written);
            if (count <= 0 && errno != EINTR)
                return false;
            written += count > 0 ? static_cast<std::size_t>(count) : 0;
        }
        return true;
    }

    int m_file;
};

/// What a caller was given from outside must not look like lines of its own. No byte of a GBK
/// character is below blank.
std::string OneLine(const KxString& line)
{
    std::string text(line.Cstr(), static_cast<std::size_t>(line.GetLength()));
    std::replace_if(
        text.begin(),
        text.end(),
        [](char character) { return static_cast<unsigned char>(character) < ' '; },
        ' ');
    return text + "\n";
}

} // namespace

void KxFile::WriteLogInfo(const KxString& line)
{
    const KxFileSizeGuard guard;
    try {
        if (MkDirEx(m_strAppCachePath) != 0)
            LogFile(m_strAppCachePath.Cstr() + std::string("/kxtile.log")).Append(OneLine(line));
    } catch (const std::bad_alloc&) {
        // The log is the last thing worth failing for.
        return;
    }
}

} // namespace KxC
