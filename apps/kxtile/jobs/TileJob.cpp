// SPDX-License-Identifier: MIT
#include "TileJob.h"

#include "Command.h"
#include "JobProgress.h"
#include "StopSignals.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace KxTileHost {

namespace {

using Clock = std::chrono::steady_clock;

/// How long work that has begun may take once the job is to stop; a second is promised.
constexpr std::chrono::milliseconds kGrace(700);

/// The threads of a job and what they are at.
class Workers
{
public:
    Workers(const TileList& tiles, const TileWork& work, JobTally& tally)
        : m_tiles(tiles), m_work(work), m_tally(tally)
    {
    }
    ~Workers() { Stop(); }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    void Start(int count);
    /// No further tile is begun.
    void Stop();
    std::uint64_t Tiles() const { return m_tiles.Count(); }
    bool AreDone() const { return m_running.load(std::memory_order_acquire) == 0; }
    const WakeUp& Bell() const { return m_bell; }
    std::vector<HostTile> InWork() const;
    /// All tiles whose work is not over.
    std::vector<HostTile> Undone() const;

private:
    void Run(std::size_t place);
    TileResult WorkOn(const HostTile& tile) const;
    /// The place's next tile, which is in work from then on, as the last one no longer is.
    std::optional<HostTile> Next(std::size_t place);
    std::vector<HostTile> InWorkLocked() const;

    const TileList& m_tiles;
    const TileWork& m_work;
    JobTally& m_tally;
    WakeUp m_bell;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_running{0};
    mutable std::mutex m_mutex; ///< guards the next two
    std::uint64_t m_next = 0;
    std::vector<std::optional<HostTile>> m_inWork;
    std::vector<std::jthread> m_threads; ///< last: they end before what they use
};

void Workers::Start(int count)
{
    const auto wanted = static_cast<std::size_t>(
        std::min<std::uint64_t>(static_cast<std::uint64_t>(count), m_tiles.Count()));
    m_inWork.resize(wanted);
    for (std::size_t place = 0; place < wanted; ++place) {
        m_running.fetch_add(1, std::memory_order_relaxed);
        m_threads.emplace_back([this, place] { Run(place); });
    }
}

void Workers::Stop()
{
    m_stop.store(true, std::memory_order_relaxed);
    m_tally.Stop();
}

void Workers::Run(std::size_t place)
{
    while (const std::optional<HostTile> tile = Next(place)) {
        const std::optional<std::uint64_t> number = m_tally.Begin();
        if (!number)
            break; // the tile stays among those that are not done
        m_tally.Add(*tile, *number, WorkOn(*tile));
    }
    if (m_running.fetch_sub(1, std::memory_order_acq_rel) == 1)
        m_bell.Ring();
}

TileResult Workers::WorkOn(const HostTile& tile) const
try {
    return m_work(tile);
} catch (const std::exception& error) {
    return {TileOutcome::Failed, 0, error.what()};
}

std::optional<HostTile> Workers::Next(std::size_t place)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_inWork[place].reset();
    if (!m_stop.load(std::memory_order_relaxed) && m_next < m_tiles.Count())
        m_inWork[place] = m_tiles.At(m_next++);
    return m_inWork[place];
}

std::vector<HostTile> Workers::InWork() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return InWorkLocked();
}

std::vector<HostTile> Workers::Undone() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<HostTile> tiles = InWorkLocked();
    for (std::uint64_t index = m_next; index < m_tiles.Count(); ++index)
        tiles.push_back(m_tiles.At(index));
    return tiles;
}

std::vector<HostTile> Workers::InWorkLocked() const
{
    std::vector<HostTile> tiles;
    for (const auto& tile : m_inWork)
        if (tile)
            tiles.push_back(*tile);
    return tiles;
}

/// Watches over the workers until they are done, a signal stops them, or they are to be abandoned.
class Watch
{
public:
    Watch(Workers& workers, JobTally& tally, JobProgress& progress)
        : m_workers(workers), m_tally(tally), m_progress(progress)
    {
    }

    /// @return false when the workers do not end
    bool Run(const StopSignals& signals);
    bool IsInterrupted() const { return m_isInterrupted; }

private:
    std::chrono::milliseconds Longest() const;

    Workers& m_workers;
    JobTally& m_tally;
    JobProgress& m_progress;
    bool m_isInterrupted = false;
    Clock::time_point m_deadline = Clock::time_point::max();
};

bool Watch::Run(const StopSignals& signals)
{
    while (!m_workers.AreDone()) {
        const StopSignals::Event event = signals.Wait(m_workers.Bell(), Longest());
        m_progress.Tell(m_tally.TakeNews());
        if (event == StopSignals::Event::Stop) {
            if (m_isInterrupted)
                return false;
            m_isInterrupted = true;
            m_deadline = Clock::now() + kGrace;
            m_workers.Stop();
        } else if (Clock::now() >= m_deadline) {
            return m_workers.AreDone();
        } else if (event == StopSignals::Event::TimeOut) {
            m_progress.Show(m_tally.Counts());
        }
    }
    return true;
}

std::chrono::milliseconds Watch::Longest() const
{
    if (!m_isInterrupted)
        return m_progress.Pause();
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - Clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

/// Ends the process while workers still wait for something. They must not be waited for, and
/// nothing that they use may be destroyed.
[[noreturn]] void Abandon(const std::vector<HostTile>& inWork,
                          const TileJobEnd& end,
                          const TileJobOptions& options) noexcept
{
    if (options.m_onAbandon)
        options.m_onAbandon(inWork);
    if (options.m_onEnd)
        options.m_onEnd(end);
    std::fflush(stdout);
    ::_exit(kExitInterrupted);
}

bool IsSameFile(const std::string& one, const std::string& other)
{
    std::error_code error;
    return std::filesystem::equivalent(one, other, error);
}

/// The list of a job that ended early. Tiles of bounds and levels that were not tried are left
/// out: they may be billions, and the same command finds them.
bool FinishListEarly(JobTally& tally, const Workers& workers, const TileJobOptions& options)
{
    const std::vector<HostTile> untried =
        options.m_retried.empty() ? std::vector<HostTile>() : workers.Undone();
    return tally.FinishEarly(untried, !IsSameFile(options.m_retried, options.m_failedList));
}

TileJobEnd EndOf(JobTally& tally,
                 const Workers& workers,
                 const TileJobOptions& options,
                 bool isInterrupted,
                 Clock::time_point start)
{
    TileJobEnd end;
    end.m_isInterrupted = isInterrupted;
    if (tally.Counts().Done() < workers.Tiles()) // else nothing was left to give up
        end.m_whyGivenUp = tally.WhyGivenUp();
    end.m_lastFailure = tally.LastFailure();
    end.m_isListWritten =
        end.EndedEarly() ? FinishListEarly(tally, workers, options) : tally.Finish();
    end.m_listed = tally.Listed();
    end.m_counts = tally.Counts();
    end.m_seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return end;
}

} // namespace

TileJobEnd RunTileJob(const TileList& tiles, const TileWork& work, const TileJobOptions& options)
{
    const auto start = Clock::now();
    const StopSignals signals;
    JobTally tally(options.m_failedList, options.m_listRemark, options.m_givesUp);
    JobProgress progress(options.m_json, tiles.Count());
    progress.Show({});
    Workers workers(tiles, work, tally);
    workers.Start(options.m_threads);
    Watch watch(workers, tally, progress);
    const bool areDone = watch.Run(signals);
    progress.Tell(tally.TakeNews());
    progress.Hide();
    const bool isInterrupted = watch.IsInterrupted() || !areDone;
    const TileJobEnd end = EndOf(tally, workers, options, isInterrupted, start);
    if (!areDone)
        Abandon(workers.InWork(), end, options);
    return end;
}

} // namespace KxTileHost
