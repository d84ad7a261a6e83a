// SPDX-License-Identifier: MIT
#include "KxFile.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>
#include <vector>

namespace KxC {

namespace {

namespace fs = std::filesystem;

/// The value of an environment variable, empty when it is not set.
std::string EnvironmentText(const char* name)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): read while the library is being loaded
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// The text without separators at its end; "/" keeps its only one.
std::string WithoutTrailingSeparators(std::string text)
{
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

/// The user's home folder; one of his own below /tmp where he has none, as services often do.
std::string HomeDir()
{
    std::string home = EnvironmentText("HOME");
    if (!home.empty())
        return home;
    std::vector<char> texts(16384);
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found) == 0 &&
        found != nullptr && found->pw_dir[0] == '/')
        return found->pw_dir;
    return "/tmp/kxtile-" + std::to_string(::getuid());
}

std::string DefaultCachePath()
{
    std::string own = EnvironmentText("KXTILE_CACHE_DIR");
    if (!own.empty())
        return own;
    // The base directory rules ask for relative values to be passed over.
    const std::string xdg = EnvironmentText("XDG_CACHE_HOME");
    return (fs::path(xdg).is_absolute() ? xdg : HomeDir() + "/.cache") + "/kxtile";
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

/// The folder as an absolute path; an empty one means the current folder.
fs::path AbsoluteFolder(const fs::path& folder)
{
    std::error_code error;
    const fs::path absolute = fs::absolute(folder, error);
    return error ? fs::current_path(error) : absolute;
}

} // namespace

KxString KxFile::m_strAppCachePath = WithoutTrailingSeparators(DefaultCachePath()).c_str();

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
    return WithoutTrailingSeparators(text.substr(0, slash + 1)).c_str();
}

KxString KxFile::GetFttpAbsolutePath(const KxString& baseDir, const KxString& relativePath)
{
    const fs::path relative(relativePath.Cstr());
    if (relative.is_absolute())
        return relativePath;
    const fs::path joined = AbsoluteFolder(baseDir.Cstr()) / relative;
    return WithoutTrailingSeparators(joined.lexically_normal()).c_str();
}

KxString KxFile::ChangeExt(const KxString& path, const KxString& ext)
{
    const std::string text(path.Cstr());
    const std::string stem = text.substr(0, ExtensionStart(text));
    return (ext.IsEmpty() != 0 ? stem : stem + "." + ext.Cstr()).c_str();
}

unsigned char KxFile::IsExist(const KxString& path)
{
    struct stat status = {};
    return ::stat(path.Cstr(), &status) == 0 ? 1 : 0;
}

unsigned char KxFile::MkDirEx(const KxString& dir)
{
    try {
        std::error_code error;
        // A separator at the end would make the last folder count as not created.
        const fs::path folder = WithoutTrailingSeparators(dir.Cstr());
        fs::create_directories(folder, error);
        return fs::is_directory(folder, error) ? 1 : 0;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

} // namespace KxC
