// SPDX-License-Identifier: MIT
// A sub-tree of the disk cache whose file holds anything.
#include "FuzzTarget.h"
#include "KxFile.h"
#include "KxRawDataTypeCache.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>

namespace {

using namespace KxC;
using Manager = KxRawDataTypeCacheManager;

constexpr Manager::CacheType kType = Manager::CacheType_SourceTile;

/// The process's cache folder, below the one for temporary files; removed at the end.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        std::string path = (std::filesystem::temp_directory_path() / "kxfuzz-XXXXXX").string();
        Fuzz::Require(::mkdtemp(path.data()) != nullptr, "there is room for temporary files");
        m_path = path;
        KxFile::m_strAppCachePath = path.c_str();
    }
    ~ScratchFolder() { Clear(m_path); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// Leaves the bytes as the only sub-tree.
    void Hold(const std::uint8_t* bytes, std::size_t size) const
    {
        Clear(m_path / "tiles");
        std::filesystem::create_directories(m_path / "tiles");
        std::ofstream(m_path / "tiles/a.mbtiles", std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    }

private:
    static void Clear(const std::filesystem::path& path)
    {
        std::error_code error;
        std::filesystem::remove_all(path, error);
    }

    std::filesystem::path m_path;
};

void Load(Manager& manager, int handle, int level, int row, int column)
{
    KxSRawDataTypeCacheItem item;
    const GetchResult result = manager.LoadTreeData(kType, handle, level, row, column, item);
    const std::unique_ptr<unsigned char, void (*)(void*)> bytes(item.m_pData, std::free);
    Fuzz::Require(result == item.m_nState, "the item says what the result says");
    Fuzz::Require(result == GetchResult_HasData || (bytes == nullptr && item.m_nSize == 0),
                  "bytes come with a hit only");
    // One byte past what is there would be noticed.
    volatile unsigned char last = 0;
    if (item.m_nSize > 0)
        last = bytes.get()[item.m_nSize - 1];
    static_cast<void>(last);
}

void LoadPlaces(Manager& manager, int handle)
{
    Load(manager, handle, 1, 2, 3);
    Load(manager, handle, 0, 0, 0);
    Load(manager, handle, 30, -1, 2147483647);
}

void Save(Manager& manager, int handle)
{
    std::string tile = "\x89PNG tile";
    const KxSRawDataTypeCacheItem item{GetchResult_HasData,
                                       static_cast<unsigned int>(tile.size()),
                                       reinterpret_cast<unsigned char*>(tile.data())};
    manager.SaveTreeData(kType, handle, 1, 2, 3, item);
    manager.SaveNoTreeDataInServer(kType, handle, 0, 0, 0);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const ScratchFolder folder;
    folder.Hold(bytes, size);
    Manager manager;
    const int handle = manager.OpenSubTreeCache(kType, "a");
    manager.ListSubTrees(kType);
    LoadPlaces(manager, handle);
    Save(manager, handle);
    LoadPlaces(manager, handle);
    manager.ListSubTrees(kType);
    manager.ClearSubTree(kType, "a");
    LoadPlaces(manager, handle);
    return 0;
}
