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
constexpr int kMaxDots = 8;

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

/// Steps over the parts of a TOML text that may hold dots without being keys.
class TomlSkimmer
{
public:
    explicit TomlSkimmer(std::string_view text) : m_text(text) {}

    int FindTooDeepKey()
    {
        int dots = 0;
        while (m_at < m_text.size()) {
            const char byte = m_text[m_at];
            if (byte == '#')
                SkipComment();
            else if (byte == '"' || byte == '\'')
                SkipString(byte);
            else
                dots = Count(byte, dots);
            if (dots > kMaxDots)
                return m_line;
        }
        return 0;
    }

private:
    int Count(char byte, int dots)
    {
        ++m_at;
        m_line += byte == '\n' ? 1 : 0;
        const bool ends = byte == '\n' || byte == '=' || byte == ',' || byte == '{';
        return ends ? 0 : dots + (byte == '.' ? 1 : 0);
    }

    void SkipComment()
    {
        while (m_at < m_text.size() && m_text[m_at] != '\n')
            ++m_at;
    }

    void SkipString(char quote)
    {
        const std::string three(3, quote);
        const bool multiLine = m_text.substr(m_at, 3) == three;
        m_at += multiLine ? 3 : 1;
        while (m_at < m_text.size() && !AtEnd(quote, multiLine, three))
            Advance(quote);
        StepOverEnd(quote, multiLine);
    }

    /// A multi-line string may end in one or two quotes of its own before the closing three.
    void StepOverEnd(char quote, bool multiLine)
    {
        const std::size_t last = m_at + (multiLine ? 5 : 1);
        while (m_at < m_text.size() && m_at < last && m_text[m_at] == quote)
            ++m_at;
    }

    bool AtEnd(char quote, bool multiLine, const std::string& three) const
    {
        if (multiLine)
            return m_text.substr(m_at, 3) == three;
        return m_text[m_at] == quote || m_text[m_at] == '\n';
    }

    void Advance(char quote)
    {
        if (quote == '"' && m_text[m_at] == '\\')
            ++m_at;
        if (m_at < m_text.size() && m_text[m_at] == '\n')
            ++m_line;
        ++m_at;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    int m_line = 1;
};

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

int FindTooDeepKey(std::string_view toml)
{
    return TomlSkimmer(toml).FindTooDeepKey();
}

} // namespace KxC
