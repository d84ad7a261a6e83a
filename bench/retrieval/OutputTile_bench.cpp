// SPDX-License-Identifier: MIT
// Output tiles beside what no library could do without: decoding the same source tiles and encoding
// the same output. Processor time of the thread, taken in turns, so that a busy machine slows both.
#include "GdalWarp.h"
#include "KxImgUtility.h"
#include "StoredSource.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <numbers>

namespace KxC::RetrievalBench {
namespace {

double ProcessorSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Seconds that `work` takes, added up over calls.
class Stopwatch
{
public:
    template <class Work>
    void Time(Work work)
    {
        const double start = ProcessorSeconds();
        work();
        m_sum += ProcessorSeconds() - start;
        ++m_count;
    }
    double Milliseconds() const { return m_sum / m_count * 1000; }

private:
    double m_sum = 0;
    int m_count = 0;
};

using FetchOperation = unsigned char (*)(KxRawData*&, KxTSDParamItem*, int, int, int, int, int);

/// One output tile in Chengdu (104.07 E, 30.67 N) of one source.
struct Job
{
    FetchOperation m_operation;
    int m_scheme;
    int m_datum;
    int m_z;
    int m_size;

    int X() const { return static_cast<int>((104.07 + 180) / 360 * (1 << m_z)); }
    int Y() const
    {
        const double height = std::asinh(std::tan(30.67 * std::numbers::pi / 180));
        return static_cast<int>((1 - height / std::numbers::pi) / 2 * (1 << m_z));
    }
    int SourceLevel() const { return m_size > 256 ? m_z + 1 : m_z; }

    std::unique_ptr<KxRawData> Run(StoredSource& source) const
    {
        KxRawData* out = nullptr;
        m_operation(out, source.Item(), X(), Y(), m_z, m_size, 0);
        return std::unique_ptr<KxRawData>(out);
    }
};

std::unique_ptr<KxImageData> Decode(const unsigned char* bytes, std::size_t size)
{
    return std::unique_ptr<KxImageData>(
        KxImgUtility::LoadImageData(bytes, static_cast<unsigned int>(size), "", 1, 1));
}

void Encode(const KxImageData& image)
{
    unsigned char* data = nullptr;
    unsigned int size = 0;
    KxImgUtility::SaveImageToMemory(
        image.GetData(), image.GetWidth(), image.GetHeight(), 24, data, size, ".jpeg", 0);
    std::free(data);
}

void DecodeTiles(const StoredSource& source, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const Bytes& file = source.FileAt(static_cast<int>(i), 0);
        benchmark::DoNotOptimize(Decode(file.data(), file.size()));
    }
}

void ForgetTiles()
{
    m_gWMTileDataCacheManager.ReleaseThreadTiles();
    m_gWMTileDataCacheManager.Clear();
}

void OutputTile(benchmark::State& state, Job job)
{
    job.m_z = static_cast<int>(state.range(0));
    job.m_size = static_cast<int>(state.range(1));
    StoredSource source(job.m_scheme, job.m_datum, job.X(), job.Y(), job.m_z, job.SourceLevel());
    ForgetTiles();
    const std::unique_ptr<KxRawData> tile = job.Run(source);
    if (tile == nullptr || tile->GetSize() == 0)
        return state.SkipWithError("no tile");
    const std::size_t tileCount = m_gWMTileDataCacheManager.GetStatistics().m_nTiles;
    const std::unique_ptr<KxImageData> output = Decode(tile->GetData(), tile->GetSize());
    Stopwatch warm;
    Stopwatch cold;
    Stopwatch decode;
    Stopwatch encode;
    for (auto _ : state) {
        warm.Time([&] { job.Run(source); });
        decode.Time([&] { DecodeTiles(source, tileCount); });
        encode.Time([&] { Encode(*output); });
        ForgetTiles();
        cold.Time([&] { job.Run(source); });
    }
    const double floor = decode.Milliseconds() + encode.Milliseconds();
    state.counters["tiles"] = static_cast<double>(tileCount);
    state.counters["floor_ms"] = floor;
    state.counters["warm_ms"] = warm.Milliseconds();
    state.counters["cold_ms"] = cold.Milliseconds();
    state.counters["sample_ms"] = warm.Milliseconds() - encode.Milliseconds();
    state.counters["over_floor"] = (decode.Milliseconds() + warm.Milliseconds()) / floor;
    state.counters["cold_over_floor"] = cold.Milliseconds() / floor;
}

void GdalTile(benchmark::State& state, Job job)
{
    job.m_z = static_cast<int>(state.range(0));
    job.m_size = static_cast<int>(state.range(1));
    const StoredSource source(
        job.m_scheme, job.m_datum, job.X(), job.Y(), job.m_z, job.SourceLevel());
    GdalWarp warp(source, job.m_scheme, job.SourceLevel(), job.X(), job.Y(), job.m_z, job.m_size);
    Stopwatch time;
    for (auto _ : state) {
        bool done = false;
        time.Time([&] { done = warp.Run(); });
        if (!done)
            return state.SkipWithError("GDAL failed");
    }
    state.counters["sample_ms"] = time.Milliseconds();
}

void Register(const char* name, FetchOperation operation, int scheme, int datum)
{
    const Job job{operation, scheme, datum, 0, 0};
    auto* bench =
        benchmark::RegisterBenchmark(name, OutputTile, job)->Unit(benchmark::kMillisecond);
    for (const int level : {6, 12, 17})
        bench->Args({level, 256})->Args({level, 512});
}

void RegisterGdal(const char* name, int scheme)
{
    const Job job{nullptr, scheme, 0, 0, 0};
    benchmark::RegisterBenchmark(name, GdalTile, job)
        ->Unit(benchmark::kMillisecond)
        ->Args({12, 256})
        ->Args({12, 512});
}

[[maybe_unused]] const bool kRegistered = [] {
    constexpr auto kRegrid = &KxTileFetcher::FetchWMTile3;
    Register("WebMercator/WGS84", kRegrid, 10, 0);
    Register("WebMercator/GCJ02", kRegrid, 10, 1);
    Register("WebMercator/BD09", kRegrid, 10, 2);
    Register("Geographic/WGS84", kRegrid, 9, 0);
    Register("Baidu/WGS84", kRegrid, 13, 0);
    Register("Baidu/GCJ02", kRegrid, 13, 1);
    Register("Baidu/BD09", kRegrid, 13, 2);
    benchmark::RegisterBenchmark(
        "Blocks/GCJ02", OutputTile, Job{&KxTileFetcher::FetchWMTile5, 10, 1, 0, 0})
        ->Unit(benchmark::kMillisecond)
        ->Args({12, 256});
    RegisterGdal("Gdal/WebMercator", 10);
    RegisterGdal("Gdal/Geographic", 9);
    RegisterGdal("Gdal/Baidu", 13);
    return true;
}();

} // namespace
} // namespace KxC::RetrievalBench
