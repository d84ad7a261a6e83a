// SPDX-License-Identifier: MIT
#include "serve/Gateway.h"

#include "Command.h"
#include "KxNetGetch.h"
#include "KxWMTileDataCache.h"
#include "serve/DefaultSources.h"
#include "serve/HttpAddress.h"
#include "serve/IdleMemory.h"
#include "serve/OriginChild.h"
#include "serve/Watcher.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <optional>
#include <thread>

namespace KxTileHost::Serve {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// For what is under way when the end is asked for; and for the answers after that.
constexpr auto kTimeToFinish = 4s;
constexpr auto kTimeToAnswer = 500ms;
constexpr auto kTimeToTell = 500ms;
/// Without work, until what only work needs is given back.
constexpr auto kQuiet = 20s;
/// For an answer on a slow line.
constexpr auto kTimeToSend = 60s;

/// Blocks the signals that end the gateway before any thread starts, so that every thread does.
sigset_t BlockEndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // a client that hangs up is not a reason to end
    return signals;
}

/// Each connection is a file to the system, and programs are given few at first.
void AllowManyFiles()
{
    rlimit files{};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0)
        return;
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
}

std::size_t CountUsable(const std::vector<SourcePtr>& sources)
{
    return static_cast<std::size_t>(
        std::count_if(sources.begin(), sources.end(), [](const SourcePtr& source) {
            return source->m_isUsable;
        }));
}

/// What is wrong with sources is told of; one of them at least must be usable.
void CheckSources(const std::vector<SourcePtr>& sources, const LoadReport& report, bool mayBeNone)
{
    for (const std::string& fault : report.m_faults)
        fmt::print(stderr, "kxtile: {}\n", Printable(fault));
    if (CountUsable(sources) == 0 && !mayBeNone)
        throw CommandError(kExitFailed,
                           "there is no source to serve",
                           "Name a definition, a folder of them, or a raster; or none of these "
                           "for the sources that come along.");
}

/// Where a browser on this machine finds the gateway: nobody can open "all addresses".
std::string OpenableHost(const std::string& bind)
{
    switch (ReachOf(bind)) {
    case Reach::AllOfIPv4:
        return "127.0.0.1";
    case Reach::AllOfIPv6:
        return "[::1]";
    case Reach::One:
        break;
    }
    return bind.find(':') == std::string::npos ? bind : "[" + bind + "]";
}

/// Behind the address, where others lead here, too.
const char* DescribeReach(const std::string& bind)
{
    switch (ReachOf(bind)) {
    case Reach::AllOfIPv4:
        return ", listening on every IPv4 address of this machine";
    case Reach::AllOfIPv6:
        return ", listening on every IPv6 address of this machine";
    case Reach::One:
        break;
    }
    return "";
}

void Announce(const GatewayOptions& options,
              std::uint16_t port,
              const std::vector<SourcePtr>& sources)
{
    const std::string& bind = options.m_http.m_address;
    const std::string address = fmt::format("http://{}:{}", OpenableHost(bind), port);
    const std::size_t usable = CountUsable(sources);
    const std::size_t broken = sources.size() - usable;
    if (options.m_json)
        PrintJson({{"address", address},
                   {"bind", bind},
                   {"sources", usable},
                   {"unusable_sources", broken}});
    else
        fmt::print("kxtile serving {} source{} on {}/{}{}\n",
                   usable,
                   usable == 1 ? "" : "s",
                   address,
                   DescribeReach(bind),
                   broken == 0 ? "" : fmt::format("; {} cannot be served", broken));
    std::fflush(stdout);
}

Metrics::Levels LevelsOf(const HttpServer& server, const WorkPool& pool, const SourceList& sources)
{
    Metrics::Levels levels;
    levels.m_inFlight = server.InFlight();
    levels.m_connections = server.ConnectionCount();
    const WorkPool::Counts work = pool.GetCounts();
    levels.m_waitingWork = work.m_waiting;
    levels.m_runningWork = work.m_running;
    levels.m_sourceBytes = KxC::m_gWMTileDataCacheManager.GetStatistics().m_nBytes;
    for (const SourcePtr& source : sources.All()) {
        levels.m_sources += source->m_isUsable ? 1U : 0U;
        levels.m_brokenSources += source->m_error.empty() ? 0U : 1U;
    }
    return levels;
}

/// Ends in time even where a service keeps its threads waiting: these end with the process.
[[noreturn]] void LeaveAtOnce(const OriginChild* origin)
{
    if (origin != nullptr)
        origin->Stop();
    std::fflush(nullptr);
    std::_Exit(kExitDone);
}

/// Sources may lie where reading them takes for ever, and the program that comes along may hang. As
/// long as nothing is served yet, the signals
/// that end the gateway end it at once.
class EndWhileLoading
{
public:
    explicit EndWhileLoading(const sigset_t& signals)
        : m_signals(::signalfd(-1, &signals, SFD_CLOEXEC)), m_done(::eventfd(0, EFD_CLOEXEC)),
          m_thread([this] { Wait(); })
    {
    }

    /// To be ended, too, from now on. One that still starts dies with this process.
    void SetOrigin(const OriginChild& origin) { m_origin = &origin; }

    ~EndWhileLoading()
    {
        const std::uint64_t one = 1;
        static_cast<void>(!::write(m_done, &one, sizeof(one)));
        m_thread.join();
        ::close(m_done);
        ::close(m_signals);
    }

    EndWhileLoading(const EndWhileLoading&) = delete;
    EndWhileLoading& operator=(const EndWhileLoading&) = delete;

private:
    void Wait() const
    {
        std::array<pollfd, 2> events{{{m_done, POLLIN, 0}, {m_signals, POLLIN, 0}}};
        ::poll(events.data(), events.size(), -1);
        // A signal that came last stays pending, and is met when the gateway serves.
        if (events[0].revents == 0 && events[1].revents != 0)
            LeaveAtOnce(m_origin);
    }

    std::atomic<const OriginChild*> m_origin = nullptr;
    int m_signals;
    int m_done;
    std::thread m_thread;
};

/// Waits for the round that it is in, which may hang where a source lies: then the gateway ends
/// without it.
void StopWatching(std::optional<Watcher>& watcher,
                  Clock::time_point deadline,
                  const OriginChild* origin)
{
    std::promise<void> done;
    const std::future<void> isOut = done.get_future();
    std::thread stopping([&] {
        watcher.reset();
        done.set_value();
    });
    if (isOut.wait_until(deadline) != std::future_status::ready)
        LeaveAtOnce(origin);
    stopping.join();
}

void Serve(const GatewayOptions& options,
           const sigset_t& endSignals,
           SourceFinder& finder,
           SourceTable& table,
           const OriginChild* origin)
{
    Service service(options.m_service, table);
    WorkPool pool(options.m_work);
    std::optional<HttpServer> server;
    try {
        server.emplace(options.m_http, service, pool);
    } catch (...) {
        pool.Stop(Clock::now() + kTimeToFinish);
        throw;
    }
    service.SetLevels([&] { return LevelsOf(*server, pool, *table.Get()); });
    const IdleMemory idleMemory(
        kQuiet,
        [&pool] {
            const WorkPool::Counts work = pool.GetCounts();
            return IdleMemory::Work{work.m_begun, work.m_waiting + work.m_running > 0};
        },
        ReleaseIdleMemory);
    std::optional<Watcher> watcher;
    if (options.m_watch)
        watcher.emplace(finder, table);
    Announce(options, server->Port(), table.Get()->All());

    int received = 0;
    sigwait(&endSignals, &received);
    const auto end = Clock::now() + kTimeToFinish;
    server->StopListening();
    const bool isDone = pool.Stop(end);
    const bool isAnswered = server->WaitForRequests(end + kTimeToAnswer);
    if (!isDone || !isAnswered)
        LeaveAtOnce(origin);
    StopWatching(watcher, end + kTimeToAnswer, origin);
}

} // namespace

void GatewayOptions::WaitForServices(int timeoutMs)
{
    const std::chrono::milliseconds timeout(timeoutMs > 0 ? timeoutMs
                                                          : KxC::KxNetGetch::kDefaultTimeoutMs);
    m_work.m_wait = timeout + kTimeToTell;
    m_http.m_connections.m_request =
        std::chrono::ceil<std::chrono::seconds>(m_work.m_wait) + kTimeToSend;
}

void RunGateway(const GatewayOptions& options)
{
    const sigset_t endSignals = BlockEndSignals();
    AllowManyFiles();
    LimitMemory();
    SourceFinder finder(options.m_sources, options.m_missing);
    std::optional<OriginChild> origin;
    std::vector<SourcePtr> sources;
    LoadReport report;
    {
        EndWhileLoading endWhileLoading(endSignals);
        if (options.m_sources.empty()) {
            origin.emplace(OriginChild::FindProgram());
            endWhileLoading.SetOrigin(*origin);
            for (const auto& source : MakeDefaultSources(origin->Address()))
                finder.Add(source);
        }
        sources = finder.Load(report);
    }
    CheckSources(sources, report, options.m_watch);
    SourceTable table;
    table.Set(std::move(sources));
    Serve(options, endSignals, finder, table, origin ? &*origin : nullptr);
}

} // namespace KxTileHost::Serve
