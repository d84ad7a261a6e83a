// SPDX-License-Identifier: MIT
#include "DefinitionReader.h"

#include "DefinitionAdvice.h"
#include "DefinitionFile.h"
#include "FormDetection.h"
#include "Forms.h"
#include "KxFile.h"
#include "TextRules.h"
#include "XmlDocument.h"

#include <unistd.h>

namespace KxC {

namespace {

constexpr std::size_t kMaxBytes = std::size_t{1} << 20;

/// A path and the name of the source that is wanted from the file.
struct DefinitionPath
{
    std::string file;
    std::string wanted;
};

DefinitionPath SplitPath(const std::string& path)
{
    const std::size_t hash = path.rfind('#');
    if (hash == std::string::npos || hash == 0)
        return {path, ""};
    return {path.substr(0, hash), path.substr(hash + 1)};
}

/// A file whose own name holds a number sign goes before the name of a source.
DefinitionPath FindPath(const std::string& path)
{
    return ::access(path.c_str(), F_OK) == 0 ? DefinitionPath{path, ""} : SplitPath(path);
}

/// Says what is wrong with an XML document that is none of the known forms.
void ReportUnknownXml(const DefinitionText& source, Report& report)
{
    XmlDocument document(source.text);
    if (document.Parse(report))
        report.Error(document.LineOf(document.Root()),
                     "",
                     "is XML headed <" + Printable(document.Root().name()) +
                         ">, which describes no tile source; known are <GDAL_WMS> and "
                         "<qgsXYZTilesConnections>");
}

Definition ReadForm(const DefinitionText& source, Report& report)
{
    switch (DetectForm(source.text)) {
    case DefinitionForm::TileJson:
        return ReadTileJsonForm(source, report);
    case DefinitionForm::GdalWms:
        return ReadGdalWmsForm(source, report);
    case DefinitionForm::Qgis:
        return ReadQgisForm(source, report);
    case DefinitionForm::MapProxy:
        return ReadMapProxyForm(source, report);
    case DefinitionForm::UnknownXml:
        ReportUnknownXml(source, report);
        return {};
    case DefinitionForm::Toml:
        break;
    }
    return ReadTomlForm(source, report);
}

Definition ReadText(std::string_view text, const DefinitionPath& path, Report& report)
{
    const KxString folder = KxFile::GetDir(path.file.c_str());
    const DefinitionText source{WithoutByteOrderMark(text), folder.Cstr(), path.wanted};
    Definition definition = ReadForm(source, report);
    AdviseOn(definition, report);
    return definition;
}

} // namespace

Definition ReadDefinition(const std::string& path, Report& report)
{
    std::string problem;
    const DefinitionPath place = FindPath(path);
    const std::optional<std::string> text = ReadSmallFile(place.file, problem);
    if (text)
        return ReadText(*text, place, report);
    report.Error(0, "", "the definition cannot be read: " + problem);
    return {};
}

Definition ReadDefinitionText(std::string_view text, const std::string& path, Report& report)
{
    if (text.size() <= kMaxBytes)
        return ReadText(text, SplitPath(path), report);
    report.Error(0, "", "the definition cannot be read: it is larger than 1 MiB");
    return {};
}

std::vector<std::string> ReadSourceNames(const std::string& path)
{
    std::string problem;
    const std::optional<std::string> text = ReadSmallFile(path, problem);
    if (!text)
        return {};
    const DefinitionText source{WithoutByteOrderMark(*text), "", ""};
    switch (DetectForm(source.text)) {
    case DefinitionForm::Qgis:
        return QgisSourceNames(source);
    case DefinitionForm::MapProxy:
        return MapProxySourceNames(source);
    default:
        return {};
    }
}

} // namespace KxC
