// SPDX-License-Identifier: MIT
#include "DamagedFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace KxC {

namespace {

constexpr int kMaxDamagedFiles = 1000;

/// Keeps other processes from setting a file of the same folder aside. Where the file system has
/// no such locks, the check for a moved file is all there is.
class FolderLock
{
public:
    explicit FolderLock(const std::string& path)
        : m_folder(
              ::open(path.substr(0, path.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        if (m_folder >= 0)
            ::flock(m_folder, LOCK_EX);
    }
    ~FolderLock()
    {
        if (m_folder >= 0)
            ::close(m_folder);
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int m_folder;
};

bool Exists(const std::string& path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// A name that is still free; empty when there is none.
std::string FreeName(const std::string& path)
{
    for (int i = 1; i <= kMaxDamagedFiles; ++i) {
        std::string name = path + ".damaged-" + std::to_string(i);
        if (!Exists(name) && !Exists(name + "-wal"))
            return name;
    }
    return {};
}

} // namespace

bool SetDamagedFileAside(const std::string& path, const TileDatabase& database)
{
    // What looks damaged in a file that is read without locks may be another's unfinished write.
    if (database.IsImmutable())
        return false;
    const FolderLock lock(path);
    if (database.HasMoved())
        return true;
    const std::string name = FreeName(path);
    if (name.empty())
        return false;
    // The log first: SQLite would play one that it finds beside a fresh file into that file.
    for (const char* journal : {"-wal", "-shm", "-journal"})
        std::rename((path + journal).c_str(), (name + journal).c_str());
    return std::rename(path.c_str(), name.c_str()) == 0;
}

} // namespace KxC
