// SPDX-License-Identifier: MIT
#include "EarthSource.h"

#include "Command.h"
#include "KxGeFetcher.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <chrono>

namespace KxTileHost {

namespace {

constexpr std::size_t kDateLength = 10; // of YYYY-MM-DD
constexpr int kSourceTileSize = 256;

/// Whole numbers between dashes, digits at all other places.
bool ReadNumbers(const std::string& text, std::array<int, 3>& numbers)
{
    if (text.size() != kDateLength || text[4] != '-' || text[7] != '-')
        return false;
    constexpr std::array<std::size_t, 4> kStarts{0, 5, 8, 11};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const char* const end = text.data() + kStarts[i + 1] - 1;
        const auto read = std::from_chars(text.data() + kStarts[i], end, numbers[i]);
        if (read.ec != std::errc() || read.ptr != end || numbers[i] < 0)
            return false;
    }
    return true;
}

bool IsCalendarDay(const std::array<int, 3>& numbers)
{
    const auto [year, month, day] = numbers;
    return year > 0 && std::chrono::year_month_day(std::chrono::year(year),
                                                   std::chrono::month(static_cast<unsigned>(month)),
                                                   std::chrono::day(static_cast<unsigned>(day)))
                           .ok();
}

bool IsWebAddress(const KxC::KxString& text)
{
    return text.Find("http://") == 0 || text.Find("https://") == 0;
}

} // namespace

std::optional<KxC::KxTime> ParseDate(const std::string& text)
{
    if (text.empty())
        return {};
    std::array<int, 3> numbers{};
    if (!ReadNumbers(text, numbers) || !IsCalendarDay(numbers))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is no day of the calendar", text),
                           "Write YYYY-MM-DD, for instance 2020-01-15.");
    return KxC::KxTime(numbers[0], numbers[1], numbers[2]);
}

std::string FormatDate(const KxC::KxTime& date)
{
    std::string text = fmt::format("{:04}", date.GetYear());
    if (date.GetMonth() > 0)
        text += fmt::format("-{:02}", date.GetMonth());
    if (date.GetMonth() > 0 && date.GetDay() > 0)
        text += fmt::format("-{:02}", date.GetDay());
    return text;
}

KxC::KxTSDParamItem* AsEarthSource(KxC::KxTSDParamItem* source,
                                   const std::optional<KxC::KxTime>& date)
{
    const bool isEarth = source->m_nTileScheme == kSchemeEarthHistory;
    if (date && !isEarth)
        throw CommandError(kExitWrongUsage,
                           "only history imagery (scheme 8) has dates",
                           "Leave --date out, or name an earth server with --scheme earth.");
    if (isEarth && IsWebAddress(source->m_strUrlTemplate))
        KxC::KxGeFetcher::SetServer(source->m_strUrlTemplate);
    if (!date)
        return source;
    // A record of its own, so that each date has its own place in the caches.
    return KxC::m_gTSDParamManager.GetTSDParam(source->m_strUrlTemplate,
                                               "",
                                               kSchemeEarthHistory,
                                               0,
                                               0,
                                               0,
                                               kSourceTileSize,
                                               source->m_strImageFormat,
                                               1,
                                               *date);
}

void ThrowIfEarthFailed()
{
    const KxC::KxGeFetchInfo fetch = KxC::KxGeFetcher::GetLastFetchInfo();
    KxC::KxGeFetcher::ClearLastFetchInfo();
    if (fetch.m_result == KxC::NetError_NoData)
        throw CommandError(kExitNoTile,
                           "the earth server has no imagery there, or none of that date or before",
                           "'kxtile history dates' lists the days that it has at a place.");
    if (fetch.m_result != KxC::NetError_Success)
        throw CommandError(kExitFailed, fetch.m_strCause.Cstr());
}

} // namespace KxTileHost
