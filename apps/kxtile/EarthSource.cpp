// SPDX-License-Identifier: MIT
#include "EarthSource.h"

#include "Command.h"
#include "KxGeFetcher.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

namespace KxTileHost {

namespace {

constexpr std::size_t kDateLength = 10; // of YYYY-MM-DD

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

/// Sends earth imagery's requests to a server; without an address, to the library's own choice.
void UseServer(const KxC::KxString& address)
{
    if (address.IsEmpty() == 0 && !IsWebAddress(address.Cstr()))
        throw CommandError(kExitFailed,
                           fmt::format("'{}' is no address of an earth server", address.Cstr()),
                           "Earth servers are asked over http:// and https:// only.");
    if (address.IsEmpty() == 0)
        KxC::KxGeFetcher::SetServer(address);
}

/// What a dated record's requests carry is what the source's carry.
void CopyRequestTexts(KxC::KxTSDParamItem& to, const KxC::KxTSDParamItem& from)
{
    to.m_strUserAgent = from.m_strUserAgent;
    if (to.m_arrRequestHeaders.GetSize() > 0)
        return; // the record has been asked for before
    for (const KxC::KxString& line : from.m_arrRequestHeaders)
        to.m_arrRequestHeaders.Add(line);
}

} // namespace

bool IsWebAddress(const std::string& text)
{
    const auto begins = [&](const std::string& scheme) {
        return text.size() > scheme.size() &&
               std::equal(scheme.begin(), scheme.end(), text.begin(), [](char a, char b) {
                   return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b);
               });
    };
    return begins("http://") || begins("https://");
}

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
    if (isEarth)
        UseServer(source->m_strUrlTemplate);
    if (!date)
        return source;
    // A record of its own, so that each date has its own place in the caches.
    KxC::KxTSDParamItem* dated = KxC::m_gTSDParamManager.GetTSDParam(source->m_strUrlTemplate,
                                                                     "",
                                                                     kSchemeEarthHistory,
                                                                     0,
                                                                     0,
                                                                     0,
                                                                     source->m_nTileSize,
                                                                     source->m_strImageFormat,
                                                                     1,
                                                                     *date);
    CopyRequestTexts(*dated, *source);
    return dated;
}

std::vector<std::string> TakeFetchedDays()
{
    std::vector<std::string> texts;
    for (const KxC::KxTime& day : KxC::KxGeFetcher::TakeFetchedDays())
        texts.push_back(day.GetYear() > 0 ? FormatDate(day) : "undated");
    return texts;
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
