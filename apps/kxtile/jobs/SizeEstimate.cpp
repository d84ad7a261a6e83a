// SPDX-License-Identifier: MIT
#include "SizeEstimate.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace KxTileHost {

namespace {

constexpr std::uint64_t kLookedAt = 256; ///< tiles that may be at hand
constexpr std::uint64_t kCut = 16;       ///< tiles of a raster
/// Bytes: imagery as JPEG and maps as PNG lie between half and twice of it.
constexpr double kUsualBytes = 20.0 * 1024.0;
constexpr double kUsualPixels = 256.0 * 256.0;

class Samples
{
public:
    void Add(std::uint64_t bytes)
    {
        ++m_count;
        m_bytes += static_cast<double>(bytes);
    }
    std::uint64_t Count() const { return m_count; }
    double Mean() const { return m_bytes / static_cast<double>(m_count); }

private:
    std::uint64_t m_count = 0;
    double m_bytes = 0.0;
};

/// Visits at most `wanted` tiles that lie evenly in the list.
template <typename Visit>
void ForSomeOf(const TileList& tiles, std::uint64_t wanted, const Visit& visit)
{
    const std::uint64_t count = std::min(wanted, tiles.Count());
    const std::uint64_t step = count == 0 ? 1 : tiles.Count() / count;
    for (std::uint64_t i = 0; i < count; ++i)
        visit(tiles.At(i * step + step / 2));
}

std::uint64_t BytesFor(std::uint64_t tiles, double each)
{
    constexpr double kMost = 9.0e18; // below what the type holds
    return static_cast<std::uint64_t>(std::min(static_cast<double>(tiles) * each, kMost));
}

} // namespace

SizeEstimate
EstimateSize(const TileList& tiles, const TileOrigin& origin, const SizeOnHand& sizeOnHand)
{
    Samples samples;
    ForSomeOf(tiles, kLookedAt, [&](const HostTile& tile) {
        if (const auto bytes = sizeOnHand(tile))
            samples.Add(*bytes);
    });
    if (samples.Count() > 0)
        return {BytesFor(tiles.Count(), samples.Mean()),
                fmt::format("the mean of {} tiles that are there already", samples.Count())};
    if (origin.GetRaster() != nullptr) {
        ForSomeOf(tiles, kCut, [&](const HostTile& tile) {
            const TileBytes cut = origin.Fetch(tile);
            samples.Add(cut.m_bytes != nullptr ? cut.m_bytes->GetSize() : 0);
        });
        if (samples.Count() > 0)
            return {BytesFor(tiles.Count(), samples.Mean()),
                    fmt::format("{} tiles cut to try", samples.Count())};
    }
    const double size = origin.GetTileSize();
    return {BytesFor(tiles.Count(), kUsualBytes * size * size / kUsualPixels),
            "what tiles of this size usually take"};
}

} // namespace KxTileHost
