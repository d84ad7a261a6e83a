// SPDX-License-Identifier: MIT
#include "KxRawDataTypeCache.h"

#include "KxFile.h"
#include "support/TempFolder.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace KxC {
namespace {

constexpr int kTiles = 2048; // many more than a connection keeps pages of
constexpr unsigned int kTileBytes = 20000;
constexpr auto kType = KxRawDataTypeCacheManager::CacheType_SourceTile;

/// A folder with one filled sub-tree, for both ways of reading it.
struct FilledFolder
{
    FilledFolder()
    {
        KxFile::m_strAppCachePath = m_folder.c_str();
        KxRawDataTypeCacheManager manager;
        std::vector<unsigned char> bytes(kTileBytes, 7);
        const KxSRawDataTypeCacheItem item{GetchResult_HasData, kTileBytes, bytes.data()};
        const int handle = manager.OpenSubTreeCache(kType, "bench");
        for (int i = 0; i < kTiles; ++i)
            manager.SaveTreeData(kType, handle, 12, i, i, item);
    }

    TempFolder m_temporary;
    std::string m_folder = m_temporary.Path().string();
};

const FilledFolder& Folder()
{
    static const FilledFolder s_folder;
    return s_folder;
}

/// The next tile's number: a fixed sequence that jumps about and meets every tile.
int Next(int number)
{
    return (number * 5 + 13) % kTiles;
}

/// As the tile retrieval does it: the sub-tree is opened before each load.
void BM_DiskHit(benchmark::State& state)
{
    Folder();
    KxRawDataTypeCacheManager manager;
    const KxString name("bench");
    int i = 0;
    for (auto _ : state) {
        i = Next(i);
        KxSRawDataTypeCacheItem item;
        manager.LoadTreeData(kType, manager.OpenSubTreeCache(kType, name), 12, i, i, item);
        if (item.m_nSize != kTileBytes)
            state.SkipWithError("tile not found");
        std::free(item.m_pData);
    }
}
BENCHMARK(BM_DiskHit);

/// The least that SQLite needs for it: one prepared statement and a copy of the bytes.
void BM_DiskHitBareStatement(benchmark::State& state)
{
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    sqlite3_open_v2((Folder().m_folder + "/tiles/bench.mbtiles").c_str(),
                    &database,
                    SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                    nullptr);
    sqlite3_prepare_v2(database,
                       "SELECT tile_data FROM tiles WHERE zoom_level = ?1 AND tile_column = ?2"
                       " AND tile_row = ?3",
                       -1,
                       &statement,
                       nullptr);
    int i = 0;
    for (auto _ : state) {
        i = Next(i);
        sqlite3_bind_int(statement, 1, 12);
        sqlite3_bind_int(statement, 2, i);
        sqlite3_bind_int(statement, 3, i);
        if (sqlite3_step(statement) != SQLITE_ROW)
            state.SkipWithError("tile not found");
        const void* const blob = sqlite3_column_blob(statement, 0);
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, 0));
        void* const copy = std::malloc(size);
        std::memcpy(copy, blob, size);
        benchmark::DoNotOptimize(copy);
        std::free(copy);
        sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
}
BENCHMARK(BM_DiskHitBareStatement);

} // namespace
} // namespace KxC
