// SPDX-License-Identifier: MIT
// What a point costs through the projection plug-in, alone, in rows and on several threads.
#include "KxCoordSysTrans.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

namespace KxC {

namespace {

const KxCoordSysTrans& Utm()
{
    static const KxCoordSysTrans* transform = [] {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the other threads wait for this
        ::setenv("KXTILE_PLUGIN_PATH", KX_PLUGIN_FOLDER, 1);
        return m_gCoordSysTransManager.GetKxCoordSysTrans("32632", ProjectStringType_EPSG);
    }();
    return *transform;
}

std::vector<KxPoint3d> Row(int count)
{
    std::vector<KxPoint3d> points(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        points[static_cast<std::size_t>(i)] = {500000.0 + 10 * i, 5400000.0 + i, 0};
    return points;
}

void PointByPoint(benchmark::State& state)
{
    const KxCoordSysTrans& transform = Utm();
    const std::vector<KxPoint3d> in = Row(256);
    KxPoint3d out;
    for (auto _ : state)
        for (const KxPoint3d& point : in) {
            transform.SrcPtToWGS84Pt(point, out);
            benchmark::DoNotOptimize(out);
        }
    state.SetItemsProcessed(state.iterations() * 256);
}
BENCHMARK(PointByPoint)->Threads(1)->Threads(2)->UseRealTime();

void RowAtOnce(benchmark::State& state)
{
    const KxCoordSysTrans& transform = Utm();
    const std::vector<KxPoint3d> in = Row(256);
    std::vector<KxPoint3d> out(in.size());
    for (auto _ : state) {
        transform.SrcPtsToWGS84Pts(in.data(), out.data(), 256);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(state.iterations() * 256);
}
BENCHMARK(RowAtOnce)->Threads(1)->Threads(2)->UseRealTime();

/// A transform that nobody has asked for before.
void Init(benchmark::State& state)
{
    Utm();
    for (auto _ : state) {
        KxCoordSysTrans transform;
        transform.Init("32632", ProjectStringType_EPSG);
        benchmark::DoNotOptimize(transform);
    }
}
BENCHMARK(Init)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace KxC
