// SPDX-License-Identifier: MIT
#include "SubTreeFolder.h"

#include "KxFile.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <system_error>
#include <utility>

namespace KxC {

namespace {

constexpr std::size_t kMaxNameBytes = 200;
constexpr std::string_view kExtension = ".mbtiles";
constexpr std::string_view kDamagedMark = ".damaged-"; // a number follows

bool IsNameCharacter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '.' || character == '_' ||
           character == '-';
}

/// The texts one after another, with one allocation: paths are made for each access to a tile.
std::string Joined(std::initializer_list<std::string_view> texts)
{
    std::size_t length = 0;
    for (const std::string_view text : texts)
        length += text.size();
    std::string joined;
    joined.reserve(length);
    for (const std::string_view text : texts)
        joined += text;
    return joined;
}

unsigned long long FileBytes(const std::string& path)
{
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(path, error);
    return error ? 0 : bytes;
}

/// What `nameOf` makes of the entries of a folder, sorted, without the empty ones; none when the
/// folder cannot be read.
template <typename NameOf>
std::vector<std::string> NamesIn(const std::string& folder, const NameOf& nameOf)
{
    std::vector<std::string> names;
    std::error_code error;
    std::filesystem::directory_iterator entries(folder, error);
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        std::string name = nameOf(entries->path());
        if (!name.empty())
            names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

bool IsSubTreeName(std::string_view name)
{
    return !name.empty() && name.size() <= kMaxNameBytes && name.front() != '.' &&
           std::all_of(name.begin(), name.end(), IsNameCharacter);
}

bool IsCacheType(KxRawDataTypeCacheManager::CacheType type)
{
    return type == KxRawDataTypeCacheManager::CacheType_SourceTile ||
           type == KxRawDataTypeCacheManager::CacheType_OutputTile;
}

std::string SubTreeFolder(KxRawDataTypeCacheManager::CacheType type)
{
    const bool isOutput = type == KxRawDataTypeCacheManager::CacheType_OutputTile;
    const KxString& cache = KxFile::m_strAppCachePath;
    return Joined({{cache.Cstr(), static_cast<std::size_t>(cache.GetLength())},
                   isOutput ? "/output" : "/tiles"});
}

std::string SubTreePath(std::string_view folder, std::string_view name)
{
    return Joined({folder, "/", name, kExtension});
}

std::vector<std::string> SubTreeNames(const std::string& folder)
{
    return NamesIn(folder, [](const std::filesystem::path& path) {
        const std::string stem = path.stem().string();
        return path.extension() == kExtension && IsSubTreeName(stem) ? stem : std::string();
    });
}

std::vector<std::string> DamagedFileNames(const std::string& folder)
{
    return NamesIn(folder, [](const std::filesystem::path& path) {
        const std::string mark = path.extension().string();
        const bool isNumbered =
            mark.starts_with(kDamagedMark) && mark.size() > kDamagedMark.size() &&
            mark.find_first_not_of("0123456789", kDamagedMark.size()) == std::string::npos;
        return isNumbered && path.stem().extension() == kExtension ? path.filename().string()
                                                                   : std::string();
    });
}

unsigned long long SubTreeBytes(const std::string& path)
{
    return FileBytes(path) + FileBytes(path + "-wal");
}

} // namespace KxC
