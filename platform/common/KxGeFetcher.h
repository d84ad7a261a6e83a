// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxNetGetch.h"
#include "KxRawData.h"
#include "KxString.h"
#include "KxTime.h"

namespace KxC {

/// Fetches history imagery, or the current one, of an earth server. So far it keeps what is wanted;
/// every fetch fails.
/// The setters belong before the first fetch; afterwards any thread may fetch.
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

    /// The wanted date; imagery not newer than it is delivered.
    void SetDataTime(const KxTime& time);
    const KxTime& GetDataTime() const;

    /// Fetches one encoded image.
    /// @param data             receives the bytes on result 0
    /// @param level, row, col  address in the geographic square grid, row 0 in the south
    /// @param info             receives nothing of interest
    /// @param option           0
    NetError
    FetchImageRawData(KxRawData& data, int level, int row, int col, KxString& info, int option);

private:
    unsigned char m_bHistroyDataUsed;
    KxTime m_dataTime;
};

} // namespace KxC
