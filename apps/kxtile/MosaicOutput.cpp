// SPDX-License-Identifier: MIT
#include "MosaicOutput.h"

#include "Command.h"
#include "KxFile.h"
#include "OutputFile.h"
#include "export/TileSink.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <system_error>

namespace KxTileHost {

namespace {

namespace fs = std::filesystem;

std::string ExtOf(const std::string& path)
{
    return KxC::KxFile::GetExt(path.c_str()).Cstr();
}

/// Whether a path's extension is this one, in any case.
bool HasExt(const std::string& path, const char* ext)
{
    return KxC::KxFile::GetExt(path.c_str()).CompareNoCase(ext) == 0;
}

int LongestSide(const std::string& path)
{
    if (HasExt(path, ".jpg") || HasExt(path, ".jpeg"))
        return 65500;
    return HasExt(path, ".webp") ? 16383 : std::numeric_limits<int>::max();
}

} // namespace

bool IsTiff(const std::string& path)
{
    return HasExt(path, ".tif") || HasExt(path, ".tiff");
}

std::string WorldFilePath(const std::string& picture)
{
    const std::string ext = ExtOf(picture);
    return KxC::KxFile::ChangeExt(picture.c_str(), fmt::format("{}{}w", ext[1], ext.back()).c_str())
        .Cstr();
}

std::string PrjPath(const std::string& picture)
{
    return KxC::KxFile::ChangeExt(picture.c_str(), "prj").Cstr();
}

void CheckNamesFormat(const std::string& path)
{
    if (ExtOf(path).size() <= 1)
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' does not say what format to write", path),
                           "Use the extension .png, .jpg, .webp or .tif.");
    CheckOutputFormat(path);
}

void CheckFormatHolds(const std::string& path, int width, int height)
{
    const int longest = LongestSide(path);
    if (std::max(width, height) > longest)
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' cannot hold {} x {} pixels: its format has at most {} "
                                       "a side",
                                       path,
                                       width,
                                       height,
                                       longest),
                           "Write a .png or .tif, or ask for a coarser --resolution.");
}

void CheckFolder(const std::string& path)
{
    if (::access(FolderOf(path).c_str(), W_OK | X_OK) != 0)
        throw CommandError(kExitFailed,
                           fmt::format("cannot write '{}'", path),
                           "Check that the folder exists and may be written.");
}

TemporaryFile::TemporaryFile(const std::string& path)
    : m_path((fs::path(path).parent_path() /
              fmt::format(".kxtile-{}-mosaic.tmp{}", ::getpid(), ExtOf(path)))
                 .string())
{
}

TemporaryFile::~TemporaryFile()
{
    std::error_code error;
    fs::remove(m_path, error);
}

bool TemporaryFile::IsThere() const
{
    return KxC::KxFile::IsExist(m_path.c_str()) != 0;
}

void TemporaryFile::RenameTo(const std::string& path) const
{
    std::error_code error;
    fs::rename(m_path, path, error);
    if (error)
        throw CommandError(kExitFailed,
                           fmt::format("cannot write '{}': {}", path, error.message()));
}

} // namespace KxTileHost
