// SPDX-License-Identifier: MIT
#include "DefinitionFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace KxC {

namespace {

constexpr std::size_t kMaxBytes = std::size_t{1} << 20;

class FileHandle
{
public:
    // O_NONBLOCK: opening a pipe must not wait for its writer.
    explicit FileHandle(const std::string& path)
        : m_file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY))
    {
    }
    ~FileHandle()
    {
        if (m_file >= 0)
            ::close(m_file);
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    int Get() const { return m_file; }

private:
    int m_file;
};

std::string SystemText(int code)
{
    return std::generic_category().message(code);
}

/// Why the opened file is not one to read, empty when it is.
std::string Refusal(int file)
{
    struct stat info = {};
    if (::fstat(file, &info) != 0)
        return SystemText(errno);
    if (!S_ISREG(info.st_mode))
        return "it is not a regular file";
    if (info.st_size > static_cast<off_t>(kMaxBytes))
        return "it is larger than 1 MiB";
    return {};
}

/// Reads at most one byte more than allowed: the size may have changed since it was asked for.
bool ReadBounded(int file, std::string& bytes, std::string& problem)
{
    char buffer[16384];
    while (bytes.size() <= kMaxBytes) {
        const ssize_t count = ::read(file, buffer, sizeof buffer);
        if (count == 0)
            return true;
        if (count < 0 && errno != EINTR) {
            problem = SystemText(errno);
            return false;
        }
        bytes.append(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    problem = "it is larger than 1 MiB";
    return false;
}

} // namespace

std::optional<std::string> ReadSmallFile(const std::string& path, std::string& problem)
{
    const FileHandle file(path);
    problem = file.Get() < 0 ? SystemText(errno) : Refusal(file.Get());
    std::string bytes;
    if (!problem.empty() || !ReadBounded(file.Get(), bytes, problem))
        return std::nullopt;
    return bytes;
}

} // namespace KxC
