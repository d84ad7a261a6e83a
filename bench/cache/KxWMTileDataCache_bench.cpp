// SPDX-License-Identifier: MIT
#include "KxWMTileDataCache.h"

#include <benchmark/benchmark.h>

namespace KxC {
namespace {

constexpr int kSide = 32; // a screen's worth of tiles and more
constexpr int kTilesOfAnOperation = 16;

KxWMTileDataCache& FilledCache()
{
    static KxWMTileDataCache& s_cache = [&]() -> KxWMTileDataCache& {
        KxWMTileDataCache& cache = *m_gWMTileDataCacheManager.OpenCache("bench");
        for (int i = 0; i < kSide * kSide; ++i)
            cache.AddToCache(new KxWMTileDataCacheEntry{
                0.0, new KxWMImageTileData(10, i / kSide, i % kSide, nullptr)});
        m_gWMTileDataCacheManager.ReleaseThreadTiles();
        return cache;
    }();
    return s_cache;
}

/// Hits as operations make them: some tiles, then letting go.
void BM_MemoryHit(benchmark::State& state)
{
    KxWMTileDataCache& cache = FilledCache();
    int i = state.thread_index() * 500;
    for (auto _ : state) {
        i = (i + 1) % (kSide * kSide);
        benchmark::DoNotOptimize(cache.AccessTileData(10, i / kSide, i % kSide));
        if (i % kTilesOfAnOperation == 0)
            m_gWMTileDataCacheManager.ReleaseThreadTiles();
    }
    m_gWMTileDataCacheManager.ReleaseThreadTiles();
}
BENCHMARK(BM_MemoryHit)->Threads(1)->Threads(2);

/// The same with the cache opened by name for each hit.
void BM_MemoryOpenAndHit(benchmark::State& state)
{
    FilledCache();
    const KxString name("bench");
    int i = state.thread_index() * 500;
    for (auto _ : state) {
        i = (i + 1) % (kSide * kSide);
        KxWMTileDataCache* const cache = m_gWMTileDataCacheManager.OpenCache(name);
        benchmark::DoNotOptimize(cache->AccessTileData(10, i / kSide, i % kSide));
        if (i % kTilesOfAnOperation == 0)
            m_gWMTileDataCacheManager.ReleaseThreadTiles();
    }
    m_gWMTileDataCacheManager.ReleaseThreadTiles();
}
BENCHMARK(BM_MemoryOpenAndHit)->Threads(1)->Threads(2);

} // namespace
} // namespace KxC
