// SPDX-License-Identifier: MIT
#include "ForeignParts.h"

#include "TextRules.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace KxC {

namespace {

constexpr std::size_t kMaxHeaders = 64;

/// Whether the text is an address that can be fetched; says what is wrong otherwise.
bool IsAddress(const std::string& url, const Place& place, const ForeignDefinition& target)
{
    const std::string start = Lower(url.substr(0, 8));
    if (HasControl(url))
        target.Error(place, "holds a line break or another control character; leave it out");
    else if (start.substr(0, 7) != "http://" && start != "https://")
        target.Error(place, "does not begin with http:// or https://; write the whole address");
    else if (url.find(' ') != std::string::npos)
        target.Error(place, "holds a blank, which no address has; write %20 in its place");
    else if (NamesVectorTiles(url))
        target.Error(place, kVectorTiles);
    else if (EndsInLua(url))
        target.Error(place, "ends in .lua, which would name a script file; put a ? behind it");
    else
        return true;
    return false;
}

/// Lists of connections often hold braces in their percent form, "%7Bx%7D".
std::string WithBraces(std::string url)
{
    if (url.find('{') != std::string::npos)
        return url;
    for (std::size_t at = url.find("%7"); at != std::string::npos; at = url.find("%7", at + 1)) {
        const std::string escape = Lower(url.substr(at, 3));
        if (escape == "%7b" || escape == "%7d")
            url.replace(at, 3, escape == "%7b" ? "{" : "}");
    }
    return url;
}

void Apply(const UrlTemplate& parsed, const UrlContext& context, Definition& definition)
{
    definition.url = parsed.text;
    definition.namedPlaceholders = true;
    if (!parsed.script.empty())
        definition.script = parsed.script;
    if (!parsed.axisOrder.empty())
        definition.axisOrder = parsed.axisOrder;
    if (!parsed.servers.empty())
        definition.servers = parsed.servers;
    else if (parsed.hasServerPart)
        definition.servers = context.servers;
    if ((context.rowsFromSouth && !context.halfRows) || parsed.hasRowFromSouth)
        definition.rows = "SouthToNorth";
    if (context.levelOffset + parsed.levelOffset != 0)
        definition.levelOffset = context.levelOffset + parsed.levelOffset;
    const bool onlyQuadkey = parsed.hasQuadkey && parsed.script.empty();
    if (onlyQuadkey)
        definition.scheme = "BingMap";
    else if (!definition.scheme)
        definition.scheme = "WebMercatorWGS84";
}

std::string OtherNames(const std::vector<std::string>& names, std::size_t chosen)
{
    constexpr std::size_t kMaxNames = 8;
    std::string text;
    std::size_t count = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i == chosen || ++count > kMaxNames)
            continue;
        text += (text.empty() ? "" : ", ") + Printable(names[i]);
    }
    return count > kMaxNames ? text + " and others" : text;
}

} // namespace

void TakeForeignUrl(const std::string& url,
                    const Place& place,
                    const UrlContext& context,
                    ForeignDefinition& target)
{
    target.definition.places["url"] = place;
    if (!IsAddress(url, place, target))
        return;
    const bool web = context.dialect == UrlDialect::Web;
    const UrlTemplate parsed = ParseUrlTemplate(web ? WithBraces(url) : url, context);
    for (const std::string& text : parsed.errors)
        target.Error(place, text);
    for (const std::string& text : parsed.warnings)
        target.Warn(place, text);
    if (parsed.hasServerPart && context.servers.empty() && parsed.errors.empty())
        target.Error(place,
                     "holds a placeholder for the server, but nothing here says which servers "
                     "there are; write {switch:a,b,c} with their names in its place");
    if (parsed.hasRowFromSouth && context.rowsFromSouth)
        target.Warn(place,
                    "holds {-y} where {y} counts from the south already; both are taken to count "
                    "from the south");
    Apply(parsed, context, target.definition);
}

void TakeForeignText(std::string_view key,
                     const std::string& text,
                     const Place& place,
                     std::optional<std::string>& value,
                     ForeignDefinition& target)
{
    if (text.empty())
        return;
    if (text.find('\0') != std::string::npos)
        target.Error(place, "holds a NUL character; leave it out");
    target.definition.places[std::string(key)] = place;
    value = text;
}

bool AddForeignHeader(const std::string& name,
                      const std::string& value,
                      const Place& place,
                      ForeignDefinition& target)
{
    const std::string line = name + ": " + value;
    // The line itself stays out of the message: headers carry keys and passwords.
    if (!IsHeaderLine(line))
        target.Error(place,
                     "makes no header line; a header's name is letters, digits and dashes, and "
                     "its value has no control characters");
    target.definition.headers.push_back(line);
    if (target.definition.headers.size() < kMaxHeaders)
        return true;
    target.Error(place, "is one of 64 headers or more; requests need few");
    return false;
}

std::optional<int> ForeignInteger(const std::string& text,
                                  std::pair<int, int> range,
                                  const Place& place,
                                  const ForeignDefinition& target)
{
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && stop == end && number >= range.first && number <= range.second)
        return number;
    target.Error(place,
                 "is no integer between " + std::to_string(range.first) + " and " +
                     std::to_string(range.second) + "; write one");
    return std::nullopt;
}

std::optional<double>
ForeignNumber(const std::string& text, const Place& place, const ForeignDefinition& target)
{
    double number = 0.0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && stop == end && std::isfinite(number))
        return number;
    target.Error(place, "is no number; write one such as 10.5");
    return std::nullopt;
}

namespace {

/// "2" is the second one, where none is called so.
std::optional<std::size_t> IndexOfNumber(const std::string& wanted, std::size_t count)
{
    std::size_t number = 0;
    const char* const end = wanted.data() + wanted.size();
    const auto [stop, error] = std::from_chars(wanted.data(), end, number);
    const bool isNumber = error == std::errc() && stop == end;
    return isNumber && number >= 1 && number <= count ? std::optional(number - 1) : std::nullopt;
}

} // namespace

std::optional<std::size_t> ChooseSource(const std::vector<std::string>& names,
                                        const std::string& wanted,
                                        const std::string& what,
                                        Report& report)
{
    if (!wanted.empty()) {
        const auto found = std::find(names.begin(), names.end(), wanted);
        if (found != names.end())
            return static_cast<std::size_t>(found - names.begin());
        if (const auto index = IndexOfNumber(wanted, names.size()))
            return index;
        report.Error(0,
                     "",
                     "holds none of the name " + Printable(wanted) + " among its " + what +
                         "; there are: " + OtherNames(names, names.size()));
        return std::nullopt;
    }
    if (names.size() > 1)
        report.Warn(
            0,
            "",
            "holds several " + what + " and the first, " + Printable(names[0]) +
                ", is read; write #NAME behind the path for another: " + OtherNames(names, 0));
    return 0;
}

} // namespace KxC
