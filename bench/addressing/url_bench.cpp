// SPDX-License-Identifier: MIT
// What it costs to build a tile's URL. The row beside each kind's name is one call of GetURL.
#include "KxTileFetcher.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace {

using KxC::KxTileFetcher;
using KxC::KxTSDParamItem;

void Load(KxTSDParamItem& item, const char* urlTemplate, int scheme, const char* servers = "")
{
    item.LoadFromParam(urlTemplate, servers, scheme, 0, 0, 0, 256, "", 0, KxC::KxTime());
}

void Run(benchmark::State& state, KxTSDParamItem& item)
{
    int col = 0;
    for (auto _ : state) {
        col = (col + 1) & 0xFFFF;
        benchmark::DoNotOptimize(KxTileFetcher::GetURL(&item, 17, 60000, col));
    }
}

void PlainUrl(benchmark::State& state)
{
    KxTSDParamItem item;
    Load(item, "https://tile.example.org/{$z}/{$x}/{$y}.png", 10);
    Run(state, item);
}
BENCHMARK(PlainUrl);

void UrlWithServer(benchmark::State& state)
{
    KxTSDParamItem item;
    Load(item, "https://{$serverpart}.example.org/{$z}/{$x}/{$y}.png", 10, "a,b,c");
    Run(state, item);
}
BENCHMARK(UrlWithServer);

void QuadKeyUrl(benchmark::State& state)
{
    KxTSDParamItem item;
    Load(item, "https://{$serverpart}.example.org/a%s.jpeg", 6, "t0,t1,t2,t3");
    Run(state, item);
}
BENCHMARK(QuadKeyUrl);

void NegativeBaiduUrl(benchmark::State& state)
{
    KxTSDParamItem item;
    Load(item, "https://o.example.org/it/u=x={$x};y={$y};z={$z};v=009", 4);
    item.m_nSouthToNorth = 1;
    for (auto _ : state)
        benchmark::DoNotOptimize(KxTileFetcher::GetURL(&item, 17, -600, -500));
}
BENCHMARK(NegativeBaiduUrl);

void ScriptedUrl(benchmark::State& state)
{
    KxTSDParamItem item;
    item.m_bLuaScripted = 1;
    item.m_luaToolkit.LoadFromString(
        "function GetTileURL(level, row, col)\n"
        "  return 'https://tile.example.org/' .. level .. '/' .. col .. '/' .. row .. '.png'\n"
        "end");
    Run(state, item);
}
BENCHMARK(ScriptedUrl);

/// The floor: printf into a buffer, and a text made of it.
void BareSnprintf(benchmark::State& state)
{
    int col = 0;
    for (auto _ : state) {
        col = (col + 1) & 0xFFFF;
        char text[128];
        const int length = std::snprintf(
            text, sizeof(text), "https://tile.example.org/%d/%d/%d.png", 17, col, 71071);
        benchmark::DoNotOptimize(std::string(text, static_cast<std::size_t>(length)));
    }
}
BENCHMARK(BareSnprintf);

} // namespace
