// SPDX-License-Identifier: MIT
#include "JobProgress.h"

#include "CacheCommand.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace KxTileHost {

namespace {

/// What the rate is taken of: long enough to be steady, short enough to follow the service.
constexpr std::chrono::seconds kWindow(10);
constexpr std::uint64_t kToldToPeople = 10;
constexpr int kUsualWidth = 80;
constexpr int kBarWidth = 20;

std::uint64_t Worked(const JobCounts& counts)
{
    return counts.Done() - counts.m_kept;
}

std::string Bar(double share)
{
    const int full = static_cast<int>(share * kBarWidth);
    return "[" + std::string(static_cast<std::size_t>(full), '#') +
           std::string(static_cast<std::size_t>(kBarWidth - full), '.') + "]";
}

int TerminalWidth()
{
    winsize size{};
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : kUsualWidth;
}

} // namespace

void RateMeter::Add(TimePoint now, const JobCounts& counts)
{
    m_samples.push_back({now, counts});
    while (m_samples.size() > 2 && now - m_samples[1].m_time >= kWindow)
        m_samples.pop_front();
}

double RateMeter::Seconds() const
{
    if (m_samples.size() < 2)
        return 0.0;
    return std::chrono::duration<double>(m_samples.back().m_time - m_samples.front().m_time)
        .count();
}

double RateMeter::TilesPerSecond() const
{
    const double seconds = Seconds();
    if (seconds <= 0.0)
        return 0.0;
    return static_cast<double>(Worked(m_samples.back().m_counts) -
                               Worked(m_samples.front().m_counts)) /
           seconds;
}

double RateMeter::BytesPerSecond() const
{
    const double seconds = Seconds();
    if (seconds <= 0.0)
        return 0.0;
    return static_cast<double>(m_samples.back().m_counts.m_madeBytes -
                               m_samples.front().m_counts.m_madeBytes) /
           seconds;
}

std::optional<double> RateMeter::SecondsLeft(std::uint64_t total) const
{
    const double rate = TilesPerSecond();
    if (rate <= 0.0)
        return std::nullopt;
    return static_cast<double>(total - m_samples.back().m_counts.Done()) / rate;
}

std::string ReadableDuration(double seconds)
{
    // A hundred days is "long"; no number of tiles makes this overflow.
    const auto whole = static_cast<long>(std::min(seconds + 0.5, 8640000.0));
    const long hours = whole / 3600;
    const long minutes = whole / 60 % 60;
    if (hours > 0)
        return fmt::format("{}:{:02}:{:02}", hours, minutes, whole % 60);
    return fmt::format("{}:{:02}", minutes, whole % 60);
}

std::string
ProgressLine(const JobCounts& counts, std::uint64_t total, const RateMeter& rate, int width)
{
    const double share =
        total == 0 ? 1.0 : static_cast<double>(counts.Done()) / static_cast<double>(total);
    std::string line =
        fmt::format("{} {}/{} {:.1f}/s {} {}/s",
                    Bar(share),
                    counts.Done(),
                    total,
                    rate.TilesPerSecond(),
                    ReadableBytes(counts.m_madeBytes),
                    ReadableBytes(static_cast<std::uint64_t>(rate.BytesPerSecond())));
    if (const auto left = rate.SecondsLeft(total))
        line += " " + ReadableDuration(*left) + " left";
    if (counts.m_failed > 0)
        line += fmt::format(" {} failed", counts.m_failed);
    // A line that wraps could not be taken back.
    return line.substr(0, static_cast<std::size_t>(std::max(width - 1, 0)));
}

JobProgress::JobProgress(bool json, std::uint64_t total)
    : m_json(json), m_isTerminal(::isatty(STDERR_FILENO) == 1), m_total(total)
{
}

JobProgress::~JobProgress()
{
    Hide();
}

std::chrono::milliseconds JobProgress::Pause() const
{
    return std::chrono::milliseconds(m_isTerminal ? 200 : 1000);
}

void JobProgress::Show(const JobCounts& counts)
{
    m_rate.Add(std::chrono::steady_clock::now(), counts);
    if (m_json)
        ShowJson(counts);
    else if (m_isTerminal)
        ShowBar(counts);
}

void JobProgress::ShowBar(const JobCounts& counts)
{
    m_isShown = true;
    fmt::print(stderr, "\r{}\x1b[K", ProgressLine(counts, m_total, m_rate, TerminalWidth()));
    std::fflush(stderr);
}

void JobProgress::ShowJson(const JobCounts& counts) const
{
    const auto left = m_rate.SecondsLeft(m_total);
    PrintJson(
        {{"event", "progress"},
         {"done", counts.Done()},
         {"tiles", m_total},
         {"bytes", counts.m_madeBytes},
         {"tiles_per_second", m_rate.TilesPerSecond()},
         {"bytes_per_second", m_rate.BytesPerSecond()},
         {"seconds_left", left ? nlohmann::ordered_json(*left) : nlohmann::ordered_json(nullptr)}});
    std::fflush(stdout);
}

void JobProgress::Tell(const std::vector<FailedTile>& failures)
{
    for (const auto& [tile, why] : failures) {
        if (m_json)
            PrintJson({{"event", "failed"},
                       {"x", tile.m_x},
                       {"y", tile.m_y},
                       {"z", tile.m_z},
                       {"error", why}});
        if (m_told++ >= kToldToPeople)
            continue;
        Hide();
        fmt::print(stderr, "kxtile: {}/{}/{}: {}\n", tile.m_x, tile.m_y, tile.m_z, Printable(why));
        if (m_told == kToldToPeople)
            fmt::print(stderr, "kxtile: further failures are only counted and listed\n");
    }
}

void JobProgress::Hide()
{
    if (m_isShown)
        std::fputs("\r\x1b[K", stderr);
    m_isShown = false;
}

} // namespace KxTileHost
