// SPDX-License-Identifier: MIT
#include "Coverage.h"

#include "RasterArgument.h"
#include "forms/FormLimits.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <vector>

namespace KxTileHost {

namespace {

constexpr int kMaxLevel = 30;

std::optional<GeoBounds> BoundsOf(const TileOrigin& origin)
{
    if (origin.GetRaster() != nullptr)
        return ExtentOf(*origin.GetRaster());
    if (!HasBounds(*origin.GetSource()))
        return std::nullopt;
    const KxC::KxRect2d& rect = origin.GetSource()->m_levelBounds.m_rect;
    return GeoBounds{rect.m_dLeft, rect.m_dBottom, rect.m_dRight, rect.m_dTop};
}

/// Of tiles of the origin's own size.
std::optional<LevelRange> LevelsOf(const TileOrigin& origin)
{
    if (KxC::KxRasterDataAccessor* const raster = origin.GetRaster())
        return LevelRange{raster->GetMinLevel(), raster->GetMaxLevel()};
    const KxC::KxSLevelBounds& bounds = origin.GetSource()->m_levelBounds;
    if (!HasMaxLevel(*origin.GetSource()))
        return std::nullopt;
    return LevelRange{std::max(bounds.m_nMinLevel, 0), std::min(bounds.m_nMaxLevel, kMaxLevel)};
}

bool AsksForOtherLevels(const TileOrigin& origin, const TileList& tiles)
{
    const std::optional<LevelRange> levels = LevelsOf(origin);
    const std::vector<LevelCount> asked = tiles.CountsByLevel();
    return levels && origin.HasOwnTileSize() &&
           std::any_of(asked.begin(), asked.end(), [&](const LevelCount& count) {
               return count.m_level < levels->m_first || count.m_level > levels->m_last;
           });
}

} // namespace

std::string DescribeCoverage(const TileOrigin& origin)
{
    std::string text;
    if (const auto bounds = BoundsOf(origin))
        text += fmt::format("longitude {:.6g} to {:.6g}{}, latitude {:.6g} to {:.6g}",
                            bounds->m_west,
                            bounds->m_east,
                            bounds->CrossesAntimeridian() ? " across the antimeridian" : "",
                            bounds->m_south,
                            bounds->m_north);
    if (const auto levels = LevelsOf(origin))
        text += fmt::format(
            "{}levels {} to {}", text.empty() ? "" : ", ", levels->m_first, levels->m_last);
    return text.empty() ? text : "covers " + text;
}

std::string HintAtCoverage(const TileOrigin& origin, const TileList& tiles, const TileJobEnd& end)
{
    const JobCounts& counts = end.m_counts;
    if (counts.m_holes == 0 || end.EndedEarly())
        return {};
    const bool nothingCame = counts.m_made + counts.m_kept == 0;
    if (!nothingCame && !AsksForOtherLevels(origin, tiles))
        return {};
    const std::string coverage = DescribeCoverage(origin);
    if (coverage.empty())
        return nothingCame ? "Check bounds and levels against what the source has." : "";
    return fmt::format("{} {}.", origin.GetName(), coverage);
}

} // namespace KxTileHost
