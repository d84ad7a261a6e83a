// SPDX-License-Identifier: MIT
#include "Outlook.h"

#include "KxNetGetch.h"

#include <fmt/format.h>

#include <algorithm>

namespace KxTileHost {

namespace {

/// Answers that have to do with who asks, not with what is asked for. 418 is what tile services
/// answer to programs that they block.
bool IsRefusal(int status)
{
    switch (status) {
    case 401:
    case 402:
    case 403:
    case 407:
    case 418:
    case 429:
    case 451:
        return true;
    default:
        return false;
    }
}

} // namespace

Outlook OutlookOfLastRequest()
{
    const KxC::KxNetRequestInfo& request = KxC::KxNetGetch::GetLastRequestInfo();
    if (request.m_result != KxC::NetError_Failure)
        return Outlook::Open;
    if (request.m_bUnreached)
        return Outlook::Unreachable;
    return IsRefusal(request.m_nHttpStatus) ? Outlook::Refused : Outlook::Open;
}

std::uint64_t FailureRow::Begin()
{
    ++m_inWork;
    return ++m_begun;
}

void FailureRow::Add(std::uint64_t number, const TileResult& result)
{
    --m_inWork;
    if (result.m_outcome == TileOutcome::Made || result.m_outcome == TileOutcome::Hole) {
        m_length = 0;
        m_lastAnswered = std::max(m_lastAnswered, number);
    }
    if (result.m_outcome != TileOutcome::Failed || result.m_outlook == Outlook::Open ||
        number < m_lastAnswered)
        return;
    m_length = result.m_outlook == m_outlook ? m_length + 1 : 1;
    m_outlook = result.m_outlook;
    m_lastWhy = result.m_why;
}

bool FailureRow::IsDoubtful() const
{
    return m_length >= (m_outlook == Outlook::Unreachable ? kUnreachable : kRefused);
}

std::string FailureRow::Describe() const
{
    return fmt::format("{} tiles in a row {}; the last one: {}",
                       m_length,
                       m_outlook == Outlook::Unreachable ? "failed for want of a connection"
                                                         : "were refused",
                       m_lastWhy);
}

} // namespace KxTileHost
