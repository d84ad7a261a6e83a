// SPDX-License-Identifier: MIT
#include "KxGeFetcher.h"

namespace KxC {

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

NetError KxGeFetcher::FetchImageRawData(
    KxRawData& data, int /*level*/, int /*row*/, int /*col*/, KxString& /*info*/, int /*option*/)
{
    // No earth server protocol is spoken yet: every tile fails, as from a server out of reach.
    data.Clear();
    return NetError_Failure;
}

} // namespace KxC
