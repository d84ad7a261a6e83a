// SPDX-License-Identifier: MIT
#include "Command.h"
#include "KxFile.h"
#include "KxGeFetcher.h"
#include "KxTileFetcher.h"
#include "StandardOutput.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <system_error>

namespace KxTileHost {

namespace {

constexpr char kExamples[] = R"(Examples:
  kxorigin --port 8080 &            (a tile service to try things out with)
  kxtile tile 'http://127.0.0.1:8080/xyz/marble/{$z}/{$x}/{$y}.png' 4/3/3 -o tile.png
  kxtile url 'https://tile.example.org/{$z}/{$x}/{$y}.png' 67/44/7
  kxtile quadkey 3/5/3
Addresses are COLUMN/ROW/LEVEL, row 0 in the north.
Exit codes: 0 done, 1 failed, 2 wrong usage, 3 the server has no tile there.
Environment: KXTILE_CACHE_DIR, XDG_CACHE_HOME, KXTILE_EARTH_URL, KXTILE_SOURCES_PATH (folders of
ready definitions), KXTILE_CA_FILE, KXTILE_PLUGIN_PATH, http_proxy, https_proxy, no_proxy.)";

/// CLI11's own range lets "nan" pass.
CLI::Validator SecondsRange()
{
    return {[](std::string& text) {
                double seconds = 0.0;
                const bool good = CLI::detail::lexical_cast(text, seconds) && seconds >= 0.001 &&
                                  seconds <= 86400.0;
                return good ? std::string() : "'" + text + "' is not between 0.001 and 86400";
            },
            "SECONDS"};
}

void AddGlobalOptions(CLI::App& app, GlobalOptions& options)
{
    app.add_flag("--json", options.m_json, "Answer in JSON, one object on one line");
    app.add_option("--cache-dir", options.m_cacheDir, "Folder of the disk cache and the log");
    app.add_flag("--no-disk-cache", options.m_noDiskCache, "Neither read nor write the disk cache");
    app.add_option("--timeout", options.m_timeoutSeconds, "Total time for a request, in seconds")
        ->check(SecondsRange());
    app.add_flag("-v,--verbose", options.m_verbose, "Say more on standard error");
    app.set_version_flag("--version", "kxtile " KXTILE_VERSION);
}

/// CLI11 misses a command before it looks at what stands in its place.
std::string WhatIsWrong(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<std::string> unknown = app.remaining(true);
    if (dynamic_cast<const CLI::RequiredError*>(&error) == nullptr || unknown.empty())
        return error.what();
    return "there is no command '" + unknown.front() + "'";
}

/// Help asked for is no mistake; everything else that does not parse is wrong usage.
int ReportUsage(const CLI::App& app, const GlobalOptions& options, const CLI::ParseError& error)
{
    if (error.get_exit_code() == 0)
        return app.exit(error);
    ReportError(options,
                WhatIsWrong(app, error),
                "Run with --help for the commands, options and examples.");
    return kExitWrongUsage;
}

/// Runs the command and tells how it failed.
int RunCommand(CLI::App& app, const GlobalOptions& options, int argc, const char* const* argv)
try {
    app.parse(argc, argv);
    return kExitDone;
} catch (const CLI::RuntimeError& error) { // a command has said all there is to say
    return error.get_exit_code();
} catch (const CLI::ParseError& error) {
    return ReportUsage(app, options, error);
} catch (const CommandError& error) {
    if (*error.what() != '\0') // else the command has told everything itself
        ReportError(options, error.what(), error.m_hint);
    return error.m_exitCode;
} catch (const std::exception& error) {
    if (std::ferror(stdout) == 0) // else that is what stopped the command, and is told at the end
        ReportError(options, error.what(), "");
    return kExitFailed;
}

} // namespace

std::string Printable(std::string text)
{
    for (char& character : text)
        if (static_cast<unsigned char>(character) < 0x20 && character != '\n')
            character = '?';
    return text;
}

void ReportError(const GlobalOptions& options, const std::string& what, const std::string& hint)
{
    fmt::print(stderr, "kxtile: {}\n", Printable(what));
    if (!hint.empty())
        fmt::print(stderr, "        {}\n", Printable(hint));
    if (!options.m_json)
        return;
    nlohmann::ordered_json error{{"error", what}};
    if (!hint.empty())
        error["hint"] = hint;
    PrintJson(error);
}

void PrintJson(const nlohmann::ordered_json& object)
{
    // Server texts may hold any bytes: what is no UTF-8 is replaced instead of ending the program.
    const auto text = object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    fmt::print("{}\n", text);
}

int RunCommandLine(int argc, const char* const* argv)
{
    OccupyClosedStreams();
    GlobalOptions options;
    // Also for mistakes that keep the command line from being read to its end.
    options.m_json = std::any_of(argv, argv + argc, [](const char* argument) {
        return std::strcmp(argument, "--json") == 0;
    });
    CLI::App app{"Map imagery as tiles, from any tile service", "kxtile"};
    app.footer(kExamples);
    app.require_subcommand(1);
    app.fallthrough();
    AddGlobalOptions(app, options);
    app.parse_complete_callback([&options] {
        if (!options.m_cacheDir.empty())
            KxC::KxFile::m_strAppCachePath = options.m_cacheDir.c_str();
        KxC::KxGeFetcher::SetTimeout(options.TimeoutMs());
        KxC::KxTileFetcher::m_sbLocalCacheUsed = options.m_noDiskCache ? 0 : 1;
    });
    AddTileCommand(app, options);
    AddSheetCommand(app, options);
    AddUrlCommand(app, options);
    AddLocateCommand(app, options);
    AddAlignCommand(app, options);
    AddQuadKeyCommand(app, options);
    AddHistoryCommand(app, options);
    AddSourceCommand(app, options);
    AddCacheCommand(app, options);
    AddFilesCommand(app, options);
    AddServeCommand(app, options);
    try {
        return FinishStandardOutput(RunCommand(app, options, argc, argv));
    } catch (const std::system_error&) { // telling of a failure failed, too
        return FinishStandardOutput(kExitFailed);
    }
}

} // namespace KxTileHost
