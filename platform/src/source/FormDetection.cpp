// SPDX-License-Identifier: MIT
#include "FormDetection.h"

#include <algorithm>

namespace KxC {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view WithoutLeadingBlanks(std::string_view text)
{
    return text.substr(std::min(text.find_first_not_of(kBlanks), text.size()));
}

/// What follows the first `end` of the text; nothing when it has none.
std::string_view After(std::string_view text, std::string_view end)
{
    const std::size_t at = text.find(end);
    return at == std::string_view::npos ? std::string_view() : text.substr(at + end.size());
}

/// The first line that is neither blank nor a comment.
std::string_view FirstLine(std::string_view text)
{
    text = WithoutLeadingBlanks(text);
    while (!text.empty() && text[0] == '#')
        text = WithoutLeadingBlanks(After(text, "\n"));
    return text.substr(0, std::min(text.find_first_of("\r\n"), text.size()));
}

/// "word:" at the start, as no line of TOML has it.
bool IsYamlLine(std::string_view line)
{
    if (line.substr(0, 3) == "---" || line.substr(0, 5) == "%YAML")
        return true;
    const std::size_t end = line.find_first_of(":=\"'[ \t#");
    return end != std::string_view::npos && end > 0 && line[end] == ':' &&
           (end + 1 == line.size() || line[end + 1] == ' ' || line[end + 1] == '\t');
}

/// The name of an XML document's root element; something else where a DOCTYPE makes it hard to
/// see, which no known form has.
std::string_view XmlRootName(std::string_view text)
{
    text = WithoutLeadingBlanks(text);
    while (text.substr(0, 2) == "<?" || text.substr(0, 2) == "<!") {
        const bool comment = text.substr(0, 4) == "<!--";
        text = WithoutLeadingBlanks(After(text, comment ? "-->" : ">"));
    }
    if (text.substr(0, 1) != "<")
        return {};
    text.remove_prefix(1);
    return text.substr(0, std::min(text.find_first_of("/> \t\r\n"), text.size()));
}

} // namespace

DefinitionForm DetectForm(std::string_view text)
{
    const std::string_view start = WithoutLeadingBlanks(text);
    if (start.substr(0, 1) == "{")
        return DefinitionForm::TileJson;
    if (start.substr(0, 1) != "<")
        return IsYamlLine(FirstLine(text)) ? DefinitionForm::MapProxy : DefinitionForm::Toml;
    const std::string_view root = XmlRootName(text);
    if (root == "GDAL_WMS")
        return DefinitionForm::GdalWms;
    return root == "qgsXYZTilesConnections" ? DefinitionForm::Qgis : DefinitionForm::UnknownXml;
}

} // namespace KxC
