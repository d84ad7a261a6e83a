// SPDX-License-Identifier: MIT
#include "serve/Source.h"

#include "EarthSource.h"
#include "KxTime.h"
#include "SourceGrid.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>

namespace KxTileHost::Serve {

namespace {

constexpr std::size_t kDaysKept = 32;
constexpr int kEarthTileSize = 256;

KxC::KxTime ToTime(DayNumber day)
{
    return {day / 10000, day / 100 % 100, day % 100};
}

/// The day whose imagery a day shows. There is none of the future and none before there were
/// satellites, so that the days that have a place in memory are some ten thousands and not
/// millions.
DayNumber WithImagery(DayNumber day)
{
    constexpr DayNumber kBeforeAll = 19300101;
    std::tm now{};
    constexpr std::time_t kSecondsOfDay = 86400;
    const std::time_t seconds = std::time(nullptr) + kSecondsOfDay; // somewhere it is that already
    ::gmtime_r(&seconds, &now);
    const DayNumber last = (now.tm_year + 1900) * 10000 + (now.tm_mon + 1) * 100 + now.tm_mday;
    return std::clamp(day, kBeforeAll, last);
}

/// A record of its own, so that each day has its own place in the memory cache. Its name leaves
/// the cache folder, so that it has none on disk: there each day would be a file.
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
    item->m_strHashKey = fmt::format("{}/{}", source.m_strHashKey.Cstr(), day).c_str();
    item->m_strUserAgent = source.m_strUserAgent;
    for (const KxC::KxString& line : source.m_arrRequestHeaders)
        item->m_arrRequestHeaders.Add(line);
    return item;
}

} // namespace

bool Source::HandsOutOwnTiles(int size) const
{
    return m_item != nullptr && IsStandardTiling(m_item->m_nTileScheme, m_item->m_nDatum) &&
           m_item->m_nTileSize == size;
}

std::shared_ptr<KxC::KxTSDParamItem> Source::ItemOfDay(DayNumber asked) const
{
    if (asked == 0)
        return m_item;
    const DayNumber day = WithImagery(asked);
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
