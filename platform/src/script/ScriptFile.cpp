// SPDX-License-Identifier: MIT
#include "ScriptFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace KxC {

namespace {

struct FileCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

/// Opens without waiting, as the path may name a pipe; null with errno set on failure.
File Open(const std::string& path)
{
    const int handle = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    return File(handle < 0 ? nullptr : ::fdopen(handle, "rb"));
}

bool IsRegular(std::FILE* file)
{
    struct stat info = {};
    return ::fstat(::fileno(file), &info) == 0 && S_ISREG(info.st_mode);
}

} // namespace

std::optional<std::string> ReadScriptFile(const std::string& path, std::string& problem)
{
    const File file = Open(path);
    if (file == nullptr) {
        problem = std::generic_category().message(errno);
        return std::nullopt;
    }
    if (!IsRegular(file.get())) {
        problem = "it is not a regular file";
        return std::nullopt;
    }
    std::string text(kMaxScriptBytes + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    if (text.size() > kMaxScriptBytes || std::ferror(file.get()) != 0) {
        problem = text.size() > kMaxScriptBytes ? "it is larger than 1 MiB" : "reading failed";
        return std::nullopt;
    }
    return text;
}

} // namespace KxC
