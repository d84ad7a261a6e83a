// SPDX-License-Identifier: MIT
#include "SourceCheckCommand.h"

#include "DefinitionFindings.h"
#include "KxDefinitionSources.h"
#include "KxTSDParam.h"
#include "Secrets.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace KxTileHost {

namespace {

struct CheckArguments
{
    std::vector<std::string> m_files;
    bool m_strict = false;
};

void Check(const std::string& file, std::vector<Finding>& findings)
{
    KxC::KxTSDParamItem source;
    source.LoadFromTSDFile(file.c_str());
    const std::vector<Finding> found = FindingsOfLoaded(source, file, Secrets(file));
    findings.insert(findings.end(), found.begin(), found.end());
}

/// Checks every source of a file that holds several.
/// @return how many there are
std::size_t CheckEach(const std::string& file, std::vector<Finding>& findings)
{
    const std::vector<KxC::KxString> names = KxC::ListDefinitionSources(file.c_str());
    if (names.size() < 2) {
        Check(file, findings);
        return 1;
    }
    std::set<std::string> seen;
    for (const KxC::KxString& text : names) {
        const std::string name = text.Cstr();
        const std::string entry = file + "#" + name;
        if (name.empty() || name.find('#') != std::string::npos || !seen.insert(name).second)
            findings.push_back({entry,
                                0,
                                "",
                                false,
                                "cannot be chosen by its name; give it one that is its own and "
                                "holds no #"});
        else
            Check(entry, findings);
    }
    return names.size();
}

nlohmann::ordered_json AsJson(const Finding& finding)
{
    constexpr std::string_view kBetween = "; ";
    const std::size_t end = finding.m_text.find(kBetween);
    const bool hasHint = end != std::string::npos;
    return {{"file", finding.m_file},
            {"line", finding.m_line},
            {"key", finding.m_key},
            {"severity", SeverityOf(finding)},
            {"message", finding.m_text.substr(0, end)},
            {"hint", hasHint ? finding.m_text.substr(end + kBetween.size()) : ""}};
}

void Print(const GlobalOptions& options, const std::vector<Finding>& findings)
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        if (options.m_json)
            list.push_back(AsJson(finding));
        else
            fmt::print("{}\n", AsLine(finding));
    }
    if (options.m_json)
        PrintJson(list);
}

void RunCheck(const GlobalOptions& options, const CheckArguments& arguments)
{
    std::vector<Finding> findings;
    std::size_t count = 0;
    for (const std::string& file : arguments.m_files)
        count += CheckEach(file, findings);
    Print(options, findings);
    const auto errors = static_cast<std::size_t>(std::count_if(
        findings.begin(), findings.end(), [](const Finding& finding) { return finding.m_error; }));
    const std::size_t warnings = findings.size() - errors;
    if (!options.m_json)
        fmt::print(stderr,
                   "kxtile: {} definition(s): {} error(s), {} warning(s)\n",
                   count,
                   errors,
                   warnings);
    if (errors > 0 || (arguments.m_strict && warnings > 0))
        throw CLI::RuntimeError(kExitFailed);
}

} // namespace

void AddSourceCheckCommand(CLI::App& source, const GlobalOptions& options)
{
    CLI::App* check = source.add_subcommand("check", "Find mistakes in definitions");
    const auto arguments = std::make_shared<CheckArguments>();
    check
        ->add_option("FILE",
                     arguments->m_files,
                     "Definitions, in any form; FILE#NAME for one of several in a file, "
                     "all of which are checked without #NAME")
        ->required();
    check->add_flag("--strict", arguments->m_strict, "Fail on warnings too");
    check->footer("Prints FILE:LINE: error|warning: KEY: what is wrong; what would be right.\n"
                  "With --json a list of objects with file, line (0 for none), key, severity,\n"
                  "message and hint. Fails (1) on errors, and with --strict on warnings.\n"
                  "Examples:\n"
                  "  kxtile source check survey.toml\n"
                  "  kxtile source check --strict sources/*.toml\n"
                  "  kxtile source check 'connections.xml#Hill shading'");
    check->callback([&options, arguments] { RunCheck(options, *arguments); });
}

} // namespace KxTileHost
