// SPDX-License-Identifier: MIT
#include "serve/Source.h"

#include "EarthSource.h"
#include "KxTime.h"
#include "SourceGrid.h"

#include <algorithm>

namespace KxTileHost::Serve {

namespace {

constexpr std::size_t kDaysKept = 32;
constexpr int kEarthTileSize = 256;

KxC::KxTime ToTime(DayNumber day)
{
    return {day / 10000, day / 100 % 100, day % 100};
}

/// A record of its own, so that each day has its own place in the caches.
std::shared_ptr<KxC::KxTSDParamItem> MakeItemOfDay(const KxC::KxTSDParamItem& source, DayNumber day)
{
    auto item = std::make_shared<KxC::KxTSDParamItem>();
    item->LoadFromParam(source.m_strUrlTemplate,
                        "",
                        kSchemeEarthHistory,
                        0,
                        0,
                        0,
                        kEarthTileSize,
                        source.m_strImageFormat,
                        1,
                        ToTime(day));
    return item;
}

} // namespace

bool Source::HandsOutOwnTiles(int size) const
{
    return m_item != nullptr && IsStandardTiling(m_item->m_nTileScheme, m_item->m_nDatum) &&
           m_item->m_nTileSize == size;
}

std::shared_ptr<KxC::KxTSDParamItem> Source::ItemOfDay(DayNumber day) const
{
    if (day == 0)
        return m_item;
    const std::lock_guard guard(m_daysLock);
    const auto found = std::find_if(
        m_days.begin(), m_days.end(), [&](const auto& entry) { return entry.first == day; });
    if (found != m_days.end()) {
        std::rotate(m_days.begin(), found, std::next(found));
        return m_days.front().second;
    }
    if (m_days.size() >= kDaysKept)
        m_days.pop_back();
    m_days.insert(m_days.begin(), {day, MakeItemOfDay(*m_item, day)});
    return m_days.front().second;
}

} // namespace KxTileHost::Serve
