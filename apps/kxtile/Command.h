// SPDX-License-Identifier: MIT
/// What all commands share: global options, exit codes and the way a command fails.
#pragma once

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace KxTileHost {

enum ExitCode : int {
    kExitDone = 0,
    kExitFailed = 1,
    kExitWrongUsage = 2,
    kExitNoTile = 3,        ///< the server has no tile there; of many tiles, it has not all
    kExitSomeFailed = 4,    ///< of many tiles
    kExitInterrupted = 130, ///< by SIGINT or SIGTERM, as shells say it
};

/// Options that stand before or after any command.
struct GlobalOptions
{
    bool m_json = false;
    bool m_noDiskCache = false;
    bool m_verbose = false;
    double m_timeoutSeconds = 0.0; ///< 0 for the library's default
    std::string m_cacheDir;        ///< empty for the library's default

    int TimeoutMs() const { return static_cast<int>(m_timeoutSeconds * 1000.0); }
};

/// Ends a command: what failed, and how to mend it. Without words where the command has told all.
class CommandError : public std::runtime_error
{
public:
    CommandError(ExitCode exitCode, const std::string& what, std::string hint = {})
        : std::runtime_error(what), m_exitCode(exitCode), m_hint(std::move(hint))
    {
    }

    ExitCode m_exitCode;
    std::string m_hint;
};

/// Each adds its subcommand; when it is chosen, the command runs and throws CommandError to fail.
void AddTileCommand(CLI::App& app, const GlobalOptions& options);
void AddSheetCommand(CLI::App& app, const GlobalOptions& options);
void AddUrlCommand(CLI::App& app, const GlobalOptions& options);
void AddLocateCommand(CLI::App& app, const GlobalOptions& options);
void AddAlignCommand(CLI::App& app, const GlobalOptions& options);
void AddQuadKeyCommand(CLI::App& app, const GlobalOptions& options);
void AddHistoryCommand(CLI::App& app, const GlobalOptions& options);
void AddSourceCommand(CLI::App& app, const GlobalOptions& options);
void AddCacheCommand(CLI::App& app, const GlobalOptions& options);
void AddFilesCommand(CLI::App& app, const GlobalOptions& options);
void AddServeCommand(CLI::App& app, const GlobalOptions& options);

/// Runs one command line.
/// @return the exit code
int RunCommandLine(int argc, const char* const* argv);

/// Says on standard error what failed and how to mend it; with --json on standard output too.
void ReportError(const GlobalOptions& options, const std::string& what, const std::string& hint);

/// A text as it may be shown. Messages quote what users and servers wrote: control characters must
/// not reach a terminal.
std::string Printable(std::string text);

/// Prints an object on standard output, one line.
void PrintJson(const nlohmann::ordered_json& object);

} // namespace KxTileHost
