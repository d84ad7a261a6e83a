// SPDX-License-Identifier: MIT
#include "OutputFile.h"
#include "SourceArgument.h"
#include "SourceSubcommands.h"
#include "forms/Form.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <map>
#include <memory>
#include <optional>

namespace KxTileHost {

namespace {

struct ConvertArguments
{
    SourceArgument m_source;
    std::string m_form;
    std::string m_output = "-";
    bool m_reveal = false;
};

using Writer = FormText (*)(const KxC::KxTSDParamItem&);

const std::map<std::string, Writer> kWriters{{"toml", &WriteToml},
                                             {"tilejson", &WriteTileJson},
                                             {"gdal", &WriteGdalXml},
                                             {"qgis", &WriteQgisXml}};

/// The forms of other programs have no variables: their values would be written out.
void RefuseSecrets(const ConvertArguments& arguments)
{
    std::string names;
    for (const std::string& name : arguments.m_source.GetSecrets().Names())
        names += (names.empty() ? "" : ", ") + name;
    if (!names.empty())
        throw CommandError(kExitFailed,
                           fmt::format("the file would hold what {} stands for, readable by all "
                                       "who see it",
                                       names),
                           "With --reveal it is written all the same. A definition (--to toml) "
                           "keeps the names.");
}

FormText WriteForm(const ConvertArguments& arguments)
{
    const SourceArgument& source = arguments.m_source;
    const Writer writer = kWriters.at(arguments.m_form);
    const bool definition = arguments.m_form == "toml";
    if (definition && !arguments.m_reveal && !source.IsTemplate()) {
        // Whatever the variables hold, and whether they are set, their names are what is written.
        const StandInVariables variables(source.GetPath());
        FormText form = writer(*source.Load(SourceUse::Describe));
        form.m_text = variables.NameAgain(form.m_text);
        return form;
    }
    if (!definition && !arguments.m_reveal)
        RefuseSecrets(arguments);
    return writer(*source.Load(SourceUse::Describe));
}

/// All forms are UTF-8; a template of the command line may be anything.
FormText WriteUtf8Form(const ConvertArguments& arguments)
try {
    FormText form = WriteForm(arguments);
    static_cast<void>(nlohmann::json(form.m_text).dump());
    return form;
} catch (const nlohmann::json::exception&) {
    throw CommandError(kExitFailed, "the source holds bytes that are no UTF-8");
}

void RunConvert(const GlobalOptions& options, const ConvertArguments& arguments)
{
    const FormText form = WriteUtf8Form(arguments);
    for (const std::string& loss : form.m_losses)
        fmt::print(stderr, "kxtile: warning: {}\n", loss);
    const bool printed = arguments.m_output == "-";
    if (!options.m_json) {
        WriteText(form.m_text, arguments.m_output);
        return;
    }
    nlohmann::ordered_json answer{{"form", arguments.m_form}, {"warnings", form.m_losses}};
    if (!printed)
        WriteText(form.m_text, arguments.m_output);
    answer[printed ? "text" : "file"] = printed ? form.m_text : arguments.m_output;
    PrintJson(answer);
}

} // namespace

void AddSourceConvertCommand(CLI::App& source, const GlobalOptions& options)
{
    CLI::App* convert =
        source.add_subcommand("convert", "Write a source in another program's form");
    const auto arguments = std::make_shared<ConvertArguments>();
    arguments->m_source.AddTo(*convert);
    convert
        ->add_option("--to",
                     arguments->m_form,
                     "toml: a definition; tilejson; gdal: XML of GDAL's WMS driver; qgis: XYZ "
                     "connections")
        ->check(CLI::IsMember({"toml", "tilejson", "gdal", "qgis"}))
        ->required();
    convert->add_option("-o,--output", arguments->m_output, "File; the standard output without it");
    convert->add_flag("--reveal",
                      arguments->m_reveal,
                      "Write what environment variables hold, keys and passwords too");
    convert->footer("What the form cannot say keeps it from being written; lesser losses are "
                    "warnings.\n"
                    "Examples:\n"
                    "  kxtile source convert survey.toml --to qgis -o survey.xml\n"
                    "  kxtile source convert 'http://127.0.0.1:8080/tms/marble/{$z}/{$x}/{$y}.jpg' "
                    "--rows south --to toml");
    convert->callback([&options, arguments] { RunConvert(options, *arguments); });
}

} // namespace KxTileHost
