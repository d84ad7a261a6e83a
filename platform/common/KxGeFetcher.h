// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxNetGetch.h"
#include "KxRawData.h"
#include "KxString.h"
#include "KxTime.h"

#include <vector>

namespace KxC {

/// What came of a thread's last operation of a KxGeFetcher.
struct KxGeFetchInfo
{
    NetError m_result = NetError_Success;
    /// The day that the delivered image shows; no date where the server does not tell it, as for
    /// current imagery.
    KxTime m_time;
    /// The level of the image that was delivered, or that the delivered one was cut from.
    int m_nLevel = 0;
    KxString m_strCause; ///< of a failure, in words; else empty
};

/// Fetches imagery of an earth server, the current one or that of a day, over its flatfile
/// protocol. Tiles lie in the square of 360 x 360 degrees: level n has 2^n columns from the west
/// (180 degrees W) and 2^n rows from the south (where a latitude of -180 degrees would be).
/// What servers tell of where they have imagery is kept for the whole process, bounded.
/// Threads: the setters belong before the first fetch; afterwards any thread may fetch.
class KXCOMMON_API KxGeFetcher
{
public:
    KxGeFetcher();
    ~KxGeFetcher();
    KxGeFetcher(const KxGeFetcher&) = delete;
    KxGeFetcher& operator=(const KxGeFetcher&) = delete;

    /// @param used  nonzero for history imagery, 0 (the start) for the current one
    void SetHistroyDataUsed(unsigned char used);
    unsigned char GetHistroyDataUsed() const;

    /// The wanted date of history imagery: the newest that is not after it is delivered. No date
    /// (the start) wants the newest.
    void SetDataTime(const KxTime& time);
    const KxTime& GetDataTime() const;

    /// What requests carry besides their address. Both are read with each fetch and have to live as
    /// long as the fetcher does.
    /// @param userAgent     null or empty names this product and its version
    /// @param requestLines  further header lines, as for KxNetGetch::RequestData; null for none.
    ///                      They go to the server that is set; a history server on another host,
    ///                      which that one names, is asked without them
    void SetRequest(const KxString* userAgent, const KxArray<KxString>* requestLines);

    /// Fetches one encoded image. Where a tile has none of its own, it is the part of a coarser
    /// tile's image, up to 8 levels up, enlarged, as PNG. Undated imagery stands in where a place
    /// has no dated one at all; where all is newer than the wanted date, there is none.
    /// @param data           receives JPEG or PNG bytes on result 0; left empty on any other
    /// @param level          0 to 30
    /// @param row, col       0 to 2^level - 1, row 0 in the south
    /// @param info           left as it is
    /// @param option         0
    /// @return 0; 7 where the server has no imagery, or the grid no tile; 6 when it failed, see
    ///         GetLastFetchInfo
    NetError
    FetchImageRawData(KxRawData& data, int level, int row, int col, KxString& info, int option);

    /// Lists the days of which the server has imagery of this very tile, newest first.
    /// @param dates  receives them; month and day are 0 where not known. Empty on any other result
    /// @param level, row, col  as for FetchImageRawData
    /// @return 0; 7 where it has no dated imagery; 6 when it failed
    NetError ListDates(std::vector<KxTime>& dates, int level, int row, int col);

    /// Sets the server for the whole process, and forgets what was read so far. Without it the
    /// server is that of the environment variable KXTILE_EARTH_URL, else the public one.
    /// A server that has no history imagery itself may name one that has, over http or https.
    /// @param url  http or https; a path and a query are kept. Empty takes the setting back
    static void SetServer(const KxString& url);

    /// Sets the time-out of every request for the whole process; a fetch may send several.
    /// @param timeoutMs  milliseconds, 0 or less (the start) for KxNetGetch::kDefaultTimeoutMs
    static void SetTimeout(int timeoutMs);

    /// The calling thread's last operation; valid until its next one.
    static const KxGeFetchInfo& GetLastFetchInfo();
    /// Forgets it, so that a host can tell whether an operation asked an earth server at all.
    static void ClearLastFetchInfo();
    /// Notes what came of an operation that another thread did for the calling one as well.
    static void SetLastFetchInfo(const KxGeFetchInfo& info);

private:
    unsigned char m_bHistroyDataUsed;
    KxTime m_dataTime;
    const KxString* m_pUserAgent = nullptr;
    const KxArray<KxString>* m_pRequestLines = nullptr;
};

} // namespace KxC
