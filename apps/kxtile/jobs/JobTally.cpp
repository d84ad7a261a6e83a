// SPDX-License-Identifier: MIT
#include "JobTally.h"

#include <utility>

namespace KxTileHost {

namespace {

/// Failures told one by one between two looks at them.
constexpr std::size_t kMaxNews = 200;

} // namespace

bool JobTally::IsInDoubt() const
{
    return m_givesUp && !m_isStopped && m_whyGivenUp.empty() && m_row.IsDoubtful();
}

std::optional<std::uint64_t> JobTally::Begin()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return !IsInDoubt(); });
    if (m_isStopped || !m_whyGivenUp.empty())
        return std::nullopt;
    return m_row.Begin();
}

void JobTally::Stop()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isStopped = true;
    m_changed.notify_all();
}

void JobTally::Add(const HostTile& tile, std::uint64_t number, const TileResult& result)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_isFinished)
        return;
    m_row.Add(number, result);
    Count(tile, result);
    if (m_givesUp && m_whyGivenUp.empty() && m_row.IsHopeless())
        m_whyGivenUp = m_row.Describe();
    m_changed.notify_all();
}

void JobTally::Count(const HostTile& tile, const TileResult& result)
{
    switch (result.m_outcome) {
    case TileOutcome::Made:
        ++m_counts.m_made;
        m_counts.m_madeBytes += result.m_bytes;
        return;
    case TileOutcome::Kept:
        ++m_counts.m_kept;
        return;
    case TileOutcome::Hole:
        ++m_counts.m_holes;
        return;
    case TileOutcome::Failed:
        ++m_counts.m_failed;
        m_lastFailure = result.m_why;
        m_list.Add(tile, result.m_why);
        if (m_news.size() < kMaxNews)
            m_news.push_back({tile, result.m_why});
    }
}

JobCounts JobTally::Counts() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_counts;
}

std::string JobTally::WhyGivenUp() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_whyGivenUp;
}

std::string JobTally::LastFailure() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastFailure;
}

std::vector<FailedTile> JobTally::TakeNews()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_news, {});
}

bool JobTally::Finish()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isFinished = true;
    return m_list.Finish();
}

bool JobTally::FinishEarly(const std::vector<HostTile>& untried, bool keepsEarlier)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isFinished = true;
    for (const HostTile& tile : untried)
        m_list.Add(tile, "the run ended before it was tried again");
    return keepsEarlier ? m_list.FinishWithEarlier() : m_list.Finish();
}

std::uint64_t JobTally::Listed() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_list.Count();
}

} // namespace KxTileHost
