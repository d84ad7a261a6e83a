// SPDX-License-Identifier: MIT
#include "Command.h"
#include "KxWMTileDataCache.h"
#include "serve/Gateway.h"
#include "serve/HostRule.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace KxTileHost {

namespace {

constexpr char kFooter[] =
    R"(Without a source it serves one picture of the world in every convention, without any network.
Of a list of several sources, as QGIS and MapProxy write them, each is served; LIST#NAME or LIST#2
is one of them.
Tiles: /SOURCE/Z/X/Y.png, .jpg, .webp or without extension; @2x behind Y for 512 pixels; ?date= for
history imagery; /SOURCE/raw/Z/X/Y for the service's own. Lists: /sources.json, /wmts, /tms/1.0.0/,
/qgis.xml, /SOURCE.json (TileJSON), /SOURCE.xml (GDAL). /health and /metrics for those who operate it.
Examples:
  kxtile serve
  kxtile serve city.toml orthophoto.tif --port 8080
  kxtile serve connections.xml 'others.xml#Hill shading'
  kxtile serve /srv/sources --watch --bind 0.0.0.0 --host maps.example.org --missing blank)";

constexpr int kDefaultPort = 8480;
constexpr double kMegabyte = 1024.0 * 1024.0;
/// Waiting for services takes no processor: there are more threads than those.
constexpr int kThreadsAtLeast = 8;

struct ServeArguments
{
    std::vector<std::string> m_sources;
    int m_port = kDefaultPort;
    std::string m_bind = "127.0.0.1";
    std::vector<std::string> m_hosts;
    std::string m_publicUrl;
    std::vector<std::string> m_missing;
    bool m_watch = false;
    int m_workers =
        std::max(kThreadsAtLeast, 2 * static_cast<int>(std::thread::hardware_concurrency()));
    int m_queue = 1000;
    double m_outputMemory = 256;
    double m_sourceMemory = 64; ///< neighbours share the tiles that they are made of, not more
    int m_maxAge = 3600;
    int m_connections = 4096;
    int m_idleSeconds = 60;
};

std::size_t Bytes(double megabytes)
{
    return static_cast<std::size_t>(megabytes * kMegabyte);
}

/// @throws CommandError for what is no address
std::string CheckedUrl(std::string url)
{
    if (url.empty())
        return url;
    while (url.back() == '/')
        url.pop_back();
    const bool web = url.compare(0, 7, "http://") == 0 || url.compare(0, 8, "https://") == 0;
    if (!web || url.find_first_of("%{}\"<> ") != std::string::npos)
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is no address that others could ask", url),
                           "Write --public-url https://maps.example.org, for instance.");
    return url;
}

/// @throws CommandError for what no browser asks for
void CheckHosts(const std::vector<std::string>& hosts)
{
    for (const std::string& host : hosts)
        if (!Serve::IsPlainHost(host) || Serve::NameOfHost(host).empty())
            throw CommandError(kExitWrongUsage,
                               fmt::format("'{}' is no name of a host", host),
                               "Write the name alone, as browsers send it, without http:// and "
                               "path: --host maps.example.org.");
}

Serve::GatewayOptions ToOptions(const GlobalOptions& global, const ServeArguments& arguments)
{
    CheckHosts(arguments.m_hosts);
    Serve::GatewayOptions options;
    options.m_sources = arguments.m_sources;
    for (const std::string& rule : arguments.m_missing)
        options.m_missing.Add(rule);
    options.m_missing.m_mayComeLater = arguments.m_watch;
    options.m_watch = arguments.m_watch;
    options.m_json = global.m_json;
    options.m_http.m_address = arguments.m_bind;
    options.m_http.m_port = static_cast<std::uint16_t>(arguments.m_port);
    options.m_http.m_serverName = "kxtile/" KXTILE_VERSION;
    options.m_http.m_connections.m_count = static_cast<std::size_t>(arguments.m_connections);
    options.m_http.m_connections.m_idle = std::chrono::seconds(arguments.m_idleSeconds);
    options.m_service.m_version = KXTILE_VERSION;
    options.m_service.m_bindAddress = arguments.m_bind;
    options.m_service.m_hosts = arguments.m_hosts;
    options.m_service.m_publicUrl = CheckedUrl(arguments.m_publicUrl);
    options.m_service.m_tiles.m_memory = Bytes(arguments.m_outputMemory);
    options.m_service.m_tiles.m_maxAgeSeconds = arguments.m_maxAge;
    options.m_service.m_tiles.m_timeoutMs = global.TimeoutMs();
    options.m_work.m_threads = arguments.m_workers;
    options.m_work.m_queue = static_cast<std::size_t>(arguments.m_queue);
    options.WaitForServices(global.TimeoutMs());
    return options;
}

void AddAddressOptions(CLI::App& command, ServeArguments& arguments)
{
    command.add_option("--port", arguments.m_port, "Port, 0 for one that the system chooses")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    command
        .add_option(
            "--bind", arguments.m_bind, "IPv4 or IPv6 address to listen on, 0.0.0.0 or :: for all")
        ->capture_default_str();
    command
        .add_option("--host",
                    arguments.m_hosts,
                    "Name that the gateway is asked for by, besides this machine's own; repeatable")
        ->allow_extra_args(false);
    command.add_option(
        "--public-url", arguments.m_publicUrl, "Address in lists, where a proxy stands in front");
}

void AddAnswerOptions(CLI::App& command, ServeArguments& arguments)
{
    command
        .add_option("--missing",
                    arguments.m_missing,
                    "Answer for a missing tile: 404, 204 or blank; SOURCE=blank for one source. "
                    "Levels that a source has not are 404 whatever it says")
        ->allow_extra_args(false);
    command.add_option("--max-age", arguments.m_maxAge, "Seconds that clients may keep tiles")
        ->check(CLI::Range(0, 31536000))
        ->capture_default_str();
    command.add_flag("--watch", arguments.m_watch, "Take changed definitions while it runs");
}

void AddResourceOptions(CLI::App& command, ServeArguments& arguments)
{
    command.add_option("--workers", arguments.m_workers, "Threads that fetch and make tiles")
        ->check(CLI::Range(1, 512))
        ->capture_default_str();
    command.add_option("--queue", arguments.m_queue, "Tiles that may wait for a worker")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    command.add_option("--output-memory", arguments.m_outputMemory, "Encoded tiles in memory, MiB")
        ->check(CLI::Range(0.0, 1048576.0))
        ->capture_default_str();
    command.add_option("--source-memory", arguments.m_sourceMemory, "Decoded tiles in memory, MiB")
        ->check(CLI::Range(0.0, 1048576.0))
        ->capture_default_str();
    command.add_option("--connections", arguments.m_connections, "Open connections, idle ones too")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    command
        .add_option("--idle-timeout", arguments.m_idleSeconds, "Seconds until an idle one is cut")
        ->check(CLI::Range(1, 86400))
        ->capture_default_str();
}

} // namespace

void AddServeCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("serve", "Serve sources and rasters as aligned tiles");
    const auto arguments = std::make_shared<ServeArguments>();
    command->add_option("SOURCE",
                        arguments->m_sources,
                        "Definitions and lists of them, folders, and rasters; none for what comes "
                        "along");
    AddAddressOptions(*command, *arguments);
    AddAnswerOptions(*command, *arguments);
    AddResourceOptions(*command, *arguments);
    command->footer(kFooter);
    command->callback([&options, arguments] {
        KxC::m_gWMTileDataCacheManager.SetBudget(Bytes(arguments->m_sourceMemory));
        Serve::RunGateway(ToOptions(options, *arguments));
    });
}

} // namespace KxTileHost
