// SPDX-License-Identifier: MIT
#include "KxFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace KxC {

namespace {

/// The value of an environment variable, empty when it is not set.
std::string EnvironmentText(const char* name)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): read while the library is being loaded
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

KxString DefaultCachePath()
{
    const std::string own = EnvironmentText("KXTILE_CACHE_DIR");
    if (!own.empty())
        return own.c_str();
    const std::string xdg = EnvironmentText("XDG_CACHE_HOME");
    if (!xdg.empty())
        return (xdg + "/kxtile").c_str();
    const std::string home = EnvironmentText("HOME");
    return ((home.empty() ? "/tmp" : home) + "/.cache/kxtile").c_str();
}

/// Position of the last component's dot; npos when it has no extension. A leading dot marks a
/// hidden file, not an extension.
std::size_t ExtensionStart(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    const std::size_t dot = path.rfind('.');
    return dot == std::string::npos || dot <= nameStart ? std::string::npos : dot;
}

bool WriteAll(int file, const std::string& text)
{
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = ::write(file, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR)
            return false;
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

} // namespace

KxString KxFile::m_strAppCachePath = DefaultCachePath();

KxString KxFile::GetExt(const KxString& path)
{
    const std::string text(path.Cstr());
    const std::size_t dot = ExtensionStart(text);
    return dot == std::string::npos ? "" : text.c_str() + dot;
}

KxString KxFile::GetDir(const KxString& path)
{
    const std::string text(path.Cstr());
    const std::size_t slash = text.rfind('/');
    if (slash == std::string::npos)
        return "";
    return slash == 0 ? KxString("/") : KxString(text.substr(0, slash).c_str());
}

KxString KxFile::GetFttpAbsolutePath(const KxString& baseDir, const KxString& relativePath)
{
    const std::filesystem::path relative(relativePath.Cstr());
    if (relative.is_absolute())
        return relativePath;
    std::error_code error;
    const std::filesystem::path base = std::filesystem::absolute(baseDir.Cstr(), error);
    // An empty base has no absolute form: it means the current folder.
    const std::filesystem::path folder = error ? std::filesystem::current_path(error) : base;
    return (folder / relative).lexically_normal().c_str();
}

KxString KxFile::ChangeExt(const KxString& path, const KxString& ext)
{
    const std::string text(path.Cstr());
    const std::string stem = text.substr(0, ExtensionStart(text));
    return (ext.IsEmpty() != 0 ? stem : stem + "." + ext.Cstr()).c_str();
}

unsigned char KxFile::IsExist(const KxString& path)
{
    std::error_code error;
    return std::filesystem::exists(path.Cstr(), error) ? 1 : 0;
}

unsigned char KxFile::MkDirEx(const KxString& dir)
{
    std::error_code error;
    std::filesystem::create_directories(dir.Cstr(), error);
    return std::filesystem::is_directory(dir.Cstr(), error) ? 1 : 0;
}

void KxFile::WriteLogInfo(const KxString& line)
{
    if (MkDirEx(m_strAppCachePath) == 0)
        return;
    const std::string path = std::string(m_strAppCachePath.Cstr()) + "/kxtile.log";
    const int file = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (file < 0)
        return;
    // The lock keeps a line whole that needs more than one write.
    ::flock(file, LOCK_EX);
    const bool written = WriteAll(file, std::string(line.Cstr()) + "\n");
    if (written)
        ::fdatasync(file);
    ::close(file);
}

} // namespace KxC
