// SPDX-License-Identifier: MIT
#pragma once

#include "JobTally.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace KxTileHost {

/// How fast a job has been lately.
class RateMeter
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    void Add(TimePoint now, const JobCounts& counts);
    /// Tiles a second, made, found missing or failed; 0 as long as nothing is known. Tiles that
    /// were there already do not count: they take no time.
    double TilesPerSecond() const;
    double BytesPerSecond() const;
    /// Nothing as long as no rate is known.
    std::optional<double> SecondsLeft(std::uint64_t total) const;

private:
    struct Sample
    {
        TimePoint m_time;
        JobCounts m_counts;
    };
    double Seconds() const;

    std::deque<Sample> m_samples;
};

/// "1:02:03", "4:05".
std::string ReadableDuration(double seconds);

/// The line that a terminal shows, no wider than `width` columns.
std::string
ProgressLine(const JobCounts& counts, std::uint64_t total, const RateMeter& rate, int width);

/// Shows how far a job has come: a bar on a terminal (standard error), JSON lines with --json,
/// nothing otherwise.
class JobProgress
{
public:
    JobProgress(bool json, std::uint64_t total);
    /// Ends the bar's line.
    ~JobProgress();
    JobProgress(const JobProgress&) = delete;
    JobProgress& operator=(const JobProgress&) = delete;

    /// Time between two looks.
    std::chrono::milliseconds Pause() const;
    void Show(const JobCounts& counts);
    /// Tells of failures; people learn of the first few only, the list has them all.
    void Tell(const std::vector<FailedTile>& failures);
    /// Takes the bar away, until it is shown again.
    void Hide();

private:
    void ShowBar(const JobCounts& counts);
    void ShowJson(const JobCounts& counts) const;

    bool m_json;
    bool m_isTerminal;
    bool m_isShown = false;
    std::uint64_t m_total;
    std::uint64_t m_told = 0;
    RateMeter m_rate;
};

} // namespace KxTileHost
