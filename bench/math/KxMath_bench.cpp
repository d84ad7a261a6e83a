// SPDX-License-Identifier: MIT
// What a pixel costs in each conversion.
#include "KxMath.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <numbers>

namespace KxC {

namespace {

constexpr double kRadian = std::numbers::pi / 180;
constexpr int kPixels = 256;

/// Degrees along a diagonal of eastern China, one for each pixel of a tile's row.
std::array<KxPoint2d, kPixels> Diagonal()
{
    std::array<KxPoint2d, kPixels> points;
    for (int i = 0; i < kPixels; ++i)
        points[static_cast<std::size_t>(i)] = {100 + 0.08 * i, 18 + 0.12 * i};
    return points;
}

template <typename Convert>
void PerPixel(benchmark::State& state, Convert convert)
{
    const std::array<KxPoint2d, kPixels> points = Diagonal();
    for (auto _ : state)
        for (const KxPoint2d& point : points) {
            KxPoint2d result;
            convert(point, result);
            benchmark::DoNotOptimize(result);
        }
    state.SetItemsProcessed(state.iterations() * kPixels);
}

void GetDeviationCoord(benchmark::State& state)
{
    const int datum = static_cast<int>(state.range(0));
    PerPixel(state, [datum](const KxPoint2d& in, KxPoint2d& out) {
        KxMath::GetDeviationCoord(datum, in.x * kRadian, in.y * kRadian, out.x, out.y);
    });
}
BENCHMARK(GetDeviationCoord)->Arg(KxDatum_WGS84)->Arg(KxDatum_GCJ02)->Arg(KxDatum_BD09);

void RemoveDeviationCoord(benchmark::State& state)
{
    const int datum = static_cast<int>(state.range(0));
    PerPixel(state, [datum](const KxPoint2d& in, KxPoint2d& out) {
        KxMath::RemoveDeviationCoord(datum, in.x * kRadian, in.y * kRadian, out.x, out.y);
    });
}
BENCHMARK(RemoveDeviationCoord)->Arg(KxDatum_GCJ02)->Arg(KxDatum_BD09);

void ConvertLL2MC(benchmark::State& state)
{
    PerPixel(state, [](const KxPoint2d& in, KxPoint2d& out) {
        KxMath::ConvertLL2MC(in.x, in.y, out.x, out.y);
    });
}
BENCHMARK(ConvertLL2MC);

void ConvertMC2LL(benchmark::State& state)
{
    PerPixel(state, [](const KxPoint2d& in, KxPoint2d& out) {
        KxMath::ConvertMC2LL(in.x * 111320, in.y * 125000, out.x, out.y);
    });
}
BENCHMARK(ConvertMC2LL);

void WebMecator2LatLon(benchmark::State& state)
{
    PerPixel(state, [](const KxPoint2d& in, KxPoint2d& out) {
        out = KxMath::WebMecator2LatLon(in.x * 111320, in.y * 125000);
    });
}
BENCHMARK(WebMecator2LatLon);

void LatLon2WebMecator(benchmark::State& state)
{
    PerPixel(state, [](const KxPoint2d& in, KxPoint2d& out) {
        out = KxMath::LatLon2WebMecator(in.x * kRadian, in.y * kRadian);
    });
}
BENCHMARK(LatLon2WebMecator);

/// The shift to GCJ-02 written out term by term: what the shared sines are measured against.
void GcjTermByTerm(const KxPoint2d& in, KxPoint2d& out)
{
    constexpr double kPi = std::numbers::pi;
    const double x = in.x - 105;
    const double y = in.y - 35;
    const double quick = 20 * std::sin(6 * kPi * x) + 20 * std::sin(2 * kPi * x);
    const double north = -100 + 2 * x + 3 * y + 0.2 * y * y + 0.1 * x * y +
                         0.2 * std::sqrt(std::abs(x)) +
                         (quick + 20 * std::sin(kPi * y) + 40 * std::sin(kPi * y / 3) +
                          160 * std::sin(kPi * y / 12) + 320 * std::sin(kPi * y / 30)) *
                             2 / 3;
    const double east = 300 + x + 2 * y + 0.1 * x * x + 0.1 * x * y + 0.1 * std::sqrt(std::abs(x)) +
                        (quick + 20 * std::sin(kPi * x) + 40 * std::sin(kPi * x / 3) +
                         150 * std::sin(kPi * x / 12) + 300 * std::sin(kPi * x / 30)) *
                            2 / 3;
    const double sine = std::sin(in.y * kRadian);
    const double w = 1 - 0.00669342162296594323 * sine * sine;
    const double radius = 6378245.0;
    out.x = in.x + east / (kRadian * radius / std::sqrt(w) * std::cos(in.y * kRadian));
    out.y = in.y + north / (kRadian * radius * (1 - 0.00669342162296594323) / (w * std::sqrt(w)));
}

void GcjWrittenOut(benchmark::State& state)
{
    PerPixel(state, GcjTermByTerm);
}
BENCHMARK(GcjWrittenOut);

} // namespace

} // namespace KxC
