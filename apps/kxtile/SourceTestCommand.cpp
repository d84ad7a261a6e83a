// SPDX-License-Identifier: MIT
#include "KxLuaToolkit.h"
#include "KxUtility.h"
#include "OutputFile.h"
#include "SourceArgument.h"
#include "SourceSubcommands.h"
#include "TilePlace.h"
#include "TileProbe.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>
#include <optional>

namespace KxTileHost {

namespace {

using Json = nlohmann::ordered_json;

struct TestArguments
{
    SourceArgument m_source;
    std::string m_address;
    std::string m_place;
    std::optional<int> m_level;
    std::string m_output;
};

HostTile ChooseTile(const TestArguments& arguments, const KxC::KxTSDParamItem& source)
{
    if (!arguments.m_address.empty())
        return ParseOwnTile(arguments.m_address, source);
    if (!arguments.m_place.empty())
        return TileAt(source,
                      ParseGeoPoint(arguments.m_place),
                      arguments.m_level.value_or(LikelyLevel(source)));
    return LikelyTile(source, arguments.m_level);
}

const char* VerdictName(ProbeStep::Verdict verdict)
{
    switch (verdict) {
    case ProbeStep::kGood:
        return "ok";
    case ProbeStep::kDoubtful:
        return "doubtful";
    case ProbeStep::kNoTile:
        return "no tile";
    default:
        return "failed";
    }
}

/// What loading said: the warnings have been printed, a definition with errors does not get here.
ProbeStep LoadingStep(const SourceArgument& argument, const KxC::KxTSDParamItem& source)
{
    const std::string script = KxC::KxLuaToolkit::GetLastError().Cstr();
    if (source.m_bLuaScripted != 0 && !script.empty())
        return {"source", ProbeStep::kBad, "the script does not load: " + script, ""};
    if (argument.IsTemplate())
        return {"source", ProbeStep::kGood, "a URL template", ""};
    const std::size_t warnings = KxC::KxUtility::GetLastTSDMessages().size();
    return {
        "source",
        warnings > 0 ? ProbeStep::kDoubtful : ProbeStep::kGood,
        fmt::format(
            "{} loads with {} warning{}", argument.GetPath(), warnings, warnings == 1 ? "" : "s"),
        warnings > 0 ? "The warnings stand above." : ""};
}

/// Collects what a test saw, secrets masked, and tells of it.
class TestReport
{
public:
    TestReport(const GlobalOptions& options, const SourceArgument& source)
        : m_options(options), m_secrets(source.GetSecrets()), m_name(source.GetText())
    {
    }

    void Add(const ProbeStep& step)
    {
        m_worst = std::max(m_worst, step.m_verdict);
        const std::string text = m_secrets.Mask(step.m_text);
        const std::string hint = m_secrets.Mask(step.m_hint);
        m_steps.push_back({{"step", step.m_name},
                           {"verdict", VerdictName(step.m_verdict)},
                           {"text", text},
                           {"hint", hint}});
        if (m_options.m_json)
            return;
        fmt::print("{:<9} {:<9} {}\n", step.m_name, VerdictName(step.m_verdict), Printable(text));
        if (!hint.empty())
            fmt::print("{:<19} {}\n", "", Printable(hint));
    }

    void Finish(Json facts, const std::string& file)
    {
        if (!m_options.m_json) {
            fmt::print("{:<9} {}\n", "result", VerdictName(m_worst));
            return;
        }
        Json answer{{"source", m_name}, {"result", VerdictName(m_worst)}};
        if (facts.contains("url"))
            facts["url"] = m_secrets.Mask(facts["url"].get<std::string>());
        answer.update(facts);
        if (!file.empty())
            answer["file"] = file;
        answer["steps"] = m_steps;
        PrintJson(answer);
    }

    ProbeStep::Verdict Worst() const { return m_worst; }

private:
    const GlobalOptions& m_options;
    Secrets m_secrets;
    std::string m_name;
    Json m_steps = Json::array();
    ProbeStep::Verdict m_worst = ProbeStep::kGood;
};

ProbeStep TileStep(const HostTile& tile)
{
    return {
        "tile",
        ProbeStep::kGood,
        fmt::format("{}/{}/{} (column, row from the north, level)", tile.m_x, tile.m_y, tile.m_z),
        ""};
}

/// What was written where, or why not.
ProbeStep KeepPicture(const KxC::KxRawData& picture, const std::string& path)
try {
    const WrittenTile written = WriteTile(picture, path);
    return {"file", ProbeStep::kGood, fmt::format("{}, {} bytes", path, written.m_bytes), ""};
} catch (const CommandError& error) {
    return {"file", ProbeStep::kBad, error.what(), error.m_hint};
}

ExitCode ExitCodeOf(ProbeStep::Verdict verdict)
{
    if (verdict == ProbeStep::kBad)
        return kExitFailed;
    return verdict == ProbeStep::kNoTile ? kExitNoTile : kExitDone;
}

/// @return how the program is to end
ExitCode RunTest(const GlobalOptions& options, const TestArguments& arguments)
{
    CheckOutputFormat(arguments.m_output);
    KxC::KxTSDParamItem* source = arguments.m_source.Load();
    TestReport report(options, arguments.m_source);
    const ProbeStep loading = LoadingStep(arguments.m_source, *source);
    report.Add(loading);
    if (loading.m_verdict == ProbeStep::kBad) {
        report.Finish({}, "");
        return kExitFailed;
    }
    const HostTile tile = ChooseTile(arguments, *source);
    report.Add(TileStep(tile));
    const TileProbe probe(*source, tile, options.TimeoutMs());
    for (const ProbeStep& step : probe.Steps())
        report.Add(step);
    const bool keep = !arguments.m_output.empty() && probe.Facts().value("decoded", false);
    if (keep)
        report.Add(KeepPicture(probe.Picture(), arguments.m_output));
    report.Finish(probe.Facts(), keep ? arguments.m_output : "");
    return ExitCodeOf(report.Worst());
}

} // namespace

void AddSourceTestCommand(CLI::App& source, const GlobalOptions& options)
{
    CLI::App* test =
        source.add_subcommand("test", "Fetch one tile and show step by step what came back");
    const auto arguments = std::make_shared<TestArguments>();
    arguments->m_source.AddTo(*test);
    CLI::Option* tile =
        test->add_option("--tile", arguments->m_address, "COLUMN/ROW/LEVEL, row 0 in the north");
    test->add_option("--at", arguments->m_place, "The place LONGITUDE,LATITUDE in degrees instead")
        ->excludes(tile);
    test->add_option("--level", arguments->m_level, "Level of the tile")
        ->check(CLI::Range(0, 30))
        ->excludes(tile);
    test->add_option("-o,--output", arguments->m_output, "Keep the picture in this file");
    test->footer(
        "The tile is fetched from the service even when it is kept on disk. Without --tile\n"
        "or --at it is one in the middle of the definition's bounds.\n"
        "Exit codes: 0 all is well, 1 failed or the definition has to be mended, 3 no "
        "tile there.\n"
        "Examples:\n"
        "  kxtile source test survey.toml\n"
        "  kxtile source test survey.toml --at 13.4,52.5 --level 10 -o berlin.png");
    test->callback([&options, arguments] {
        const ExitCode code = RunTest(options, *arguments);
        if (code != kExitDone)
            throw CLI::RuntimeError(code);
    });
}

} // namespace KxTileHost
