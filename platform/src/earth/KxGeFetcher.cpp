// SPDX-License-Identifier: MIT
#include "KxGeFetcher.h"

#include "EarthErrors.h"
#include "KxImgUtility.h"
#include "TileSearch.h"

#include <exception>

namespace KxC {

namespace {

using namespace Earth;

KxGeFetchInfo& ThreadInfo()
{
    thread_local KxGeFetchInfo info;
    return info;
}

/// A cause may be longer than anybody reads: a server's texts end in it.
KxString ToKxString(const char* text)
{
    constexpr int kMaxCauseBytes = 1000;
    return KxString(text).Left(kMaxCauseBytes);
}

/// Runs one search. What the server gave us to read with may be outdated: when an answer makes no
/// sense, and the server's dbRoot is another by now, the search is done once more.
template <typename Search>
auto SearchWithFreshRoots(EarthRequests& requests, const Search& search)
{
    try {
        return search();
    } catch (const DamagedAnswer&) {
        if (!requests.RenewRoots())
            throw;
    }
    return search();
}

/// Runs an operation and notes for the thread how it ended.
template <typename Operation>
void RunAndNote(KxGeFetchInfo& info, const Operation& operation)
{
    try {
        info = KxGeFetchInfo{};
        info.m_result = operation(info) ? NetError_Success : NetError_NoData;
    } catch (const FetchFailure& failure) {
        info.m_result = NetError_Failure;
        info.m_strCause = ToKxString(failure.what());
    }
}

/// Turns an operation's end, exceptions included, into a result.
/// @param operation  answers whether there is imagery
template <typename Operation>
NetError Finish(const Operation& operation)
{
    KxGeFetchInfo& info = ThreadInfo();
    try {
        RunAndNote(info, operation);
    } catch (const std::exception&) {
        // Only memory runs out here; the words are short enough to need none.
        info.m_result = NetError_Failure;
        info.m_strCause = "out of memory";
    }
    return info.m_result;
}

bool FetchTile(KxRawData& data,
               KxGeFetchInfo& info,
               const TileWish& wish,
               const RequestTexts& texts)
{
    EarthRequests requests(CurrentServer(), texts);
    const std::optional<FoundImage> found =
        SearchWithFreshRoots(requests, [&] { return FindImage(data, requests, wish); });
    if (!found)
        return false;
    info.m_nLevel = found->m_level;
    info.m_time = DateOfKey(found->m_date);
    data.SetExt(KxImgUtility::TellImgExt(data.GetData(), data.GetSize()));
    return true;
}

bool ListDays(std::vector<KxTime>& dates, const QuadPath& tile, const RequestTexts& texts)
{
    EarthRequests requests(CurrentServer(), texts);
    for (const DateKey day :
         SearchWithFreshRoots(requests, [&] { return FindDays(requests, tile); }))
        dates.push_back(DateOfKey(day));
    return !dates.empty();
}

} // namespace

KxGeFetcher::KxGeFetcher() : m_bHistroyDataUsed(0) {}

KxGeFetcher::~KxGeFetcher() = default;

void KxGeFetcher::SetHistroyDataUsed(unsigned char used)
{
    m_bHistroyDataUsed = used;
}

unsigned char KxGeFetcher::GetHistroyDataUsed() const
{
    return m_bHistroyDataUsed;
}

void KxGeFetcher::SetDataTime(const KxTime& time)
{
    m_dataTime = time;
}

const KxTime& KxGeFetcher::GetDataTime() const
{
    return m_dataTime;
}

void KxGeFetcher::SetRequest(const KxString* userAgent, const KxArray<KxString>* requestLines)
{
    m_pUserAgent = userAgent;
    m_pRequestLines = requestLines;
}

NetError KxGeFetcher::FetchImageRawData(
    KxRawData& data, int level, int row, int col, KxString& /*info*/, int /*option*/)
{
    data.Clear();
    const NetError result = Finish([&](KxGeFetchInfo& info) {
        const std::optional<QuadPath> tile = MakeQuadPath(level, row, col);
        return tile && FetchTile(data,
                                 info,
                                 {*tile, m_bHistroyDataUsed != 0, KeyOfDate(m_dataTime)},
                                 {m_pUserAgent, m_pRequestLines});
    });
    if (result != NetError_Success)
        data.Clear();
    return result;
}

NetError KxGeFetcher::ListDates(std::vector<KxTime>& dates, int level, int row, int col)
{
    dates.clear();
    const NetError result = Finish([&](KxGeFetchInfo&) {
        const std::optional<QuadPath> tile = MakeQuadPath(level, row, col);
        return tile && ListDays(dates, *tile, {m_pUserAgent, m_pRequestLines});
    });
    if (result != NetError_Success)
        dates.clear();
    return result;
}

void KxGeFetcher::SetServer(const KxString& url)
{
    SetCurrentServer(url.Cstr());
    ForgetAnswers();
}

void KxGeFetcher::SetTimeout(int timeoutMs)
{
    SetCurrentTimeout(timeoutMs);
}

const KxGeFetchInfo& KxGeFetcher::GetLastFetchInfo()
{
    return ThreadInfo();
}

void KxGeFetcher::ClearLastFetchInfo()
{
    ThreadInfo() = KxGeFetchInfo{};
}

void KxGeFetcher::SetLastFetchInfo(const KxGeFetchInfo& info)
{
    ThreadInfo() = info;
}

} // namespace KxC
