// SPDX-License-Identifier: MIT
#include "serve/SourceAddress.h"

#include "SourceGrid.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace KxTileHost::Serve {

namespace {

/// Tiles that a window shows across.
constexpr double kTilesAcross = 4.0;

std::string QueryOfDay(DayNumber day)
{
    if (day == 0)
        return "";
    return fmt::format("?date={:04}-{:02}-{:02}", day / 10000, day / 100 % 100, day % 100);
}

} // namespace

std::string ListedExtension(const Source& source)
{
    const std::string extension = ExtensionOf(source.m_format);
    return extension.empty() ? extension : "." + extension;
}

TileFormat FixedFormat(const Source& source)
{
    return source.m_format == TileFormat::Natural ? TileFormat::Png : source.m_format;
}

std::unique_ptr<KxC::KxTSDParamItem> AsServedItem(const Source& source,
                                                  const std::string& base,
                                                  const std::string& extension,
                                                  DayNumber day)
{
    auto item = std::make_unique<KxC::KxTSDParamItem>();
    const std::string address = fmt::format("{}/{}/{{$z}}/{{$x}}/{{$y}}{}{}{}",
                                            base,
                                            source.m_id,
                                            extension.empty() ? "" : ".",
                                            extension,
                                            QueryOfDay(day));
    item->LoadFromParam(
        address.c_str(), "", kSchemeWebMercator, 0, 0, 0, kTileSize, "", 0, KxC::KxTime());
    item->m_strImageFormat = extension.c_str();
    item->m_strAttr1 = source.m_name.c_str();
    item->m_strAttr2 = source.m_attribution.c_str();
    item->m_levelBounds.m_rect = source.m_bounds;
    item->m_levelBounds.m_nMinLevel = source.m_minLevel;
    item->m_levelBounds.m_nMaxLevel = source.m_maxLevel;
    return item;
}

std::array<double, 3> CenterOf(const Source& source)
{
    const KxC::KxRect2d& bounds = source.m_bounds;
    const double width = std::max(bounds.m_dRight - bounds.m_dLeft, 1e-6);
    const double level = std::floor(std::log2(360.0 / width * kTilesAcross));
    return {(bounds.m_dLeft + bounds.m_dRight) / 2.0,
            (bounds.m_dBottom + bounds.m_dTop) / 2.0,
            std::clamp(level,
                       static_cast<double>(source.m_minLevel),
                       static_cast<double>(source.m_maxLevel))};
}

} // namespace KxTileHost::Serve
