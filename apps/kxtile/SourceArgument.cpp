// SPDX-License-Identifier: MIT
#include "SourceArgument.h"

#include "Command.h"
#include "EarthSource.h"
#include "KxUtility.h"
#include "ReadySources.h"
#include "SourceGrid.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <system_error>

namespace KxTileHost {

namespace {

constexpr char kTemplateOptions[] = "For a URL template";
constexpr int kSchemeBingMap = 6;

const std::map<std::string, int> kSchemes{{"mercator", kSchemeWebMercator},
                                          {"quadkey", kSchemeBingMap},
                                          {"tianditu", 5},
                                          {"geographic", 9},
                                          {"baidu", 4},
                                          {"earth", kSchemeEarthHistory}};
const std::map<std::string, int> kDatums{{"wgs84", 0}, {"gcj02", 1}, {"bd09", 2}};

/// Doubles the percent signs that the library would take for conversions, so that those of the
/// URL's own stay what they are. One straight before a placeholder is one of them.
std::string EscapePercentSigns(const std::string& text)
{
    std::string escaped;
    for (std::size_t at = 0; at < text.size(); ++at) {
        escaped += text[at];
        const char next = at + 1 < text.size() ? text[at + 1] : '\0';
        const bool placeholder = text.compare(at + 1, 2, "{$") == 0;
        if (text[at] == '%' && (next == 's' || next == 'd' || next == '%' || placeholder))
            escaped += '%';
    }
    return escaped;
}

/// Numbers stay numbers; names are looked up.
int CodeOf(const std::map<std::string, int>& codes, const std::string& text)
{
    const auto found = codes.find(text);
    return found == codes.end() ? std::stoi(text) : found->second;
}

bool Holds(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

bool Exists(const std::string& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error);
}

/// Whether a text was meant as an address though it has no "://".
bool LooksLikeTemplate(const std::string& text)
{
    return !Exists(text) && (Holds(text, "{$") || Holds(text, "{x}") || Holds(text, "%d"));
}

[[noreturn]] void ThrowBadTemplate(const std::string& text, const std::string& fault)
{
    throw CommandError(
        kExitWrongUsage,
        fmt::format("'{}' {}", text, fault),
        "Write {$x}, {$y} and {$z}, or {$quadkey}, where the tile's numbers stand; quote the "
        "argument for the shell.");
}

void CheckIsWebAddress(const std::string& text)
{
    if (!IsWebAddress(text))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is no address of a tile service", text),
                           "Tiles are asked for by http:// and https:// only.");
}

/// An earth server's address is all that there is to say of it: where a tile is, its quadtree
/// tells.
void CheckEarthAddress(const std::string& text)
{
    for (const char* placeholder : {"{$x}", "{$y}", "{$z}", "{$quadkey}"})
        if (Holds(text, placeholder))
            throw CommandError(
                kExitWrongUsage,
                fmt::format("'{}' is a template of tile URLs, not an earth server's address", text),
                "Only earth servers have imagery of dates: name one without placeholders, or leave "
                "--date and --scheme earth out.");
}

/// Refuses an address that no tile can be asked for with.
void CheckTemplate(const std::string& text)
{
    std::string missing;
    int named = 0;
    for (const char* placeholder : {"{$x}", "{$y}", "{$z}"}) {
        if (Holds(text, placeholder))
            ++named;
        else
            missing += (missing.empty() ? "" : " and ") + std::string(placeholder);
    }
    if (Holds(text, "{$quadkey}") || (named == 0 && Holds(text, "%d")))
        return;
    if (named == 0)
        ThrowBadTemplate(text, "has no tile placeholder");
    if (!missing.empty())
        ThrowBadTemplate(text, "has no " + missing);
}

[[noreturn]] void ThrowNotEnabled(const KxC::KxTSDParamItem& source, const std::string& path)
{
    const std::string terms = source.m_strAttr3.IsEmpty() != 0
                                  ? "The definition names no terms."
                                  : fmt::format("Terms: {}", source.m_strAttr3.Cstr());
    throw CommandError(
        kExitFailed,
        fmt::format("'{}' is not enabled, so nothing is fetched from this service", path),
        terms + "\n        If you have the right to use it so, copy the file, write enabled = true "
                "into the copy, and name the copy.");
}

/// A check that takes the names and whole numbers.
CLI::Validator NameOrNumber(const std::map<std::string, int>& codes)
{
    return {[&codes](std::string& text) {
                int number = 0;
                if (codes.count(text) > 0 || CLI::detail::lexical_cast(text, number))
                    return std::string();
                return "'" + text + "' is none of them";
            },
            CLI::detail::generate_map(codes, true)};
}

} // namespace

std::string DescribeMessage(const KxC::KxTSDMessage& message)
{
    std::string text;
    if (message.m_nLine > 0)
        text += fmt::format("line {}: ", message.m_nLine);
    if (message.m_strKey.IsEmpty() == 0)
        text += fmt::format("{}: ", message.m_strKey.Cstr());
    return text + message.m_strText.Cstr();
}

void SourceArgument::AddTo(CLI::App& command, Presence presence)
{
    command
        .add_option("SOURCE",
                    m_text,
                    "Definition file, name of a ready definition ('kxtile source list'), or URL "
                    "template with {$x} {$y} {$z} or other programs' spellings")
        ->required(presence == kRequired);
    const auto describes = [&](CLI::Option* option) {
        m_templateOptions.push_back(option->group(kTemplateOptions));
    };
    describes(command.add_option(
        "--servers", m_servers, "Server parts for {$serverpart}, as in 'a,b,c'"));
    describes(command.add_option("--scheme", m_scheme, "Tiling scheme, by name or number")
                  ->check(NameOrNumber(kSchemes)));
    describes(command.add_option("--datum", m_datum, "Datum of the tiles")
                  ->check(CLI::IsMember(kDatums)));
    describes(command.add_option("--rows", m_rows, "Where the service counts rows from")
                  ->check(CLI::IsMember({"north", "south"})));
    describes(command.add_option("--level-offset", m_levelOffset, "Added to the level in the URL"));
    describes(command.add_option("--tile-size", m_tileSize, "Edge of a tile, in pixels")
                  ->check(CLI::Range(1, 8192)));
    describes(
        command.add_option("--format", m_format, "Format text; one that ends in gzip is inflated"));
    command.add_option(
        "--date", m_date, "History imagery (scheme earth) of this day, YYYY-MM-DD, or before");
    command.add_option("--user-agent", m_userAgent, "Sent instead of the product's own name");
    command.add_option("--header", m_headers, "Header line, as in 'Name: value'; repeatable")
        ->allow_extra_args(false);
}

CommandError SourceArgument::WithoutSecrets(const CommandError& error) const
{
    const Secrets secrets = GetSecrets();
    return {error.m_exitCode, secrets.Mask(error.what()), secrets.Mask(error.m_hint)};
}

Secrets SourceArgument::GetSecrets() const
{
    return Secrets(IsTemplate() ? std::string() : GetPath());
}

std::string SourceArgument::GetName() const
{
    return IsTemplate() ? m_text : std::filesystem::path(m_text).stem().string();
}

bool SourceArgument::IsTemplate() const
{
    return Holds(m_text, "://");
}

std::string SourceArgument::GetPath() const
{
    std::error_code error;
    if (!IsReadySourceName(m_text) || std::filesystem::exists(m_text, error))
        return m_text;
    const auto ready = FindReadySource(m_text);
    return ready ? ready->string() : m_text;
}

KxC::KxTSDParamItem* SourceArgument::Load(SourceUse use) const
{
    const auto date = ParseDate(m_date);
    KxC::KxTSDParamItem* source =
        AsEarthSource(IsTemplate() ? LoadTemplate() : LoadDefinition(), date);
    if (use == SourceUse::Fetch && source->m_bOption3 == 0)
        ThrowNotEnabled(*source, GetPath());
    // This process has just made the record, and nobody else reads it yet.
    if (!m_userAgent.empty())
        source->m_strUserAgent = m_userAgent.c_str();
    for (const std::string& header : m_headers)
        source->m_arrRequestHeaders.Add(header.c_str());
    return source;
}

void SourceArgument::RefuseTemplateOptions() const
{
    for (const CLI::Option* option : m_templateOptions)
        if (option->count() > 0)
            throw CommandError(
                kExitWrongUsage,
                fmt::format("{} describes a URL template, but '{}' is a definition, which says "
                            "it itself",
                            option->get_name(),
                            m_text),
                "Leave the option out, or write the value into the definition.");
}

KxC::KxTSDParamItem* SourceArgument::LoadDefinition() const
{
    const std::string path = GetPath();
    if (LooksLikeTemplate(m_text))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is no address", m_text),
                           "Begin a URL template with http:// or https://.");
    RefuseTemplateOptions();
    if (path == m_text && IsReadySourceName(m_text) && !Exists(path))
        throw CommandError(kExitFailed,
                           fmt::format("there is no file and no ready definition '{}'", m_text),
                           "'kxtile source list' names those that there are.");
    KxC::KxTSDParamItem* source = KxC::m_gTSDParamManager.GetTSDParam(path.c_str());
    std::string errors;
    for (const KxC::KxTSDMessage& message : KxC::KxUtility::GetLastTSDMessages()) {
        if (message.m_bError)
            errors += (errors.empty() ? "" : "\n        ") + DescribeMessage(message);
        else
            fmt::print(stderr, "kxtile: {}: warning: {}\n", path, DescribeMessage(message));
    }
    if (!errors.empty())
        throw CommandError(
            kExitFailed, fmt::format("cannot use the definition '{}'", path), errors);
    return source;
}

int SourceArgument::SchemeOfTemplate(bool byQuadKey) const
{
    if (!m_scheme.empty())
        return CodeOf(kSchemes, m_scheme);
    if (!m_date.empty())
        return kSchemeEarthHistory;
    return byQuadKey ? kSchemeBingMap : kSchemeWebMercator;
}

KxC::KxTSDParamItem* SourceArgument::LoadTemplate() const
{
    CheckIsWebAddress(m_text);
    const KxC::KxUrlSpelling spelling = KxC::SpellUrl(m_text.c_str());
    if (spelling.m_strFault.IsEmpty() == 0)
        ThrowBadTemplate(m_text, spelling.m_strFault.Cstr());
    return LoadTileTemplate(spelling);
}

KxC::KxTSDParamItem* SourceArgument::LoadTileTemplate(const KxC::KxUrlSpelling& spelling) const
{
    const std::string text = spelling.m_strUrl.Cstr();
    const bool byQuadKey = Holds(text, "{$quadkey}");
    const bool named = Holds(text, "{$x}");
    const int scheme = SchemeOfTemplate(byQuadKey);
    if (scheme == kSchemeEarthHistory)
        CheckEarthAddress(text);
    else
        CheckTemplate(text);
    KxC::KxString urlTemplate(byQuadKey || named ? EscapePercentSigns(text).c_str() : text.c_str());
    urlTemplate.Replace("{$quadkey}", "%s");
    // Baidu's rows have no north to count from, and its tiles are on its own datum.
    const bool plane = GridOf(scheme) == GridKind::Baidu;
    const bool fromSouth =
        m_rows == "south" || spelling.m_bRowsFromSouth || (m_rows.empty() && plane);
    const int levelOffset = m_levelOffset + spelling.m_nLevelOffset;
    const bool namesServers = spelling.m_strServerParts.IsEmpty() == 0;
    KxC::KxTSDParamItem* source = KxC::m_gTSDParamManager.GetTSDParam(
        urlTemplate,
        namesServers ? spelling.m_strServerParts : KxC::KxString(m_servers.c_str()),
        scheme,
        kDatums.at(!m_datum.empty() ? m_datum
                   : plane          ? "bd09"
                                    : "wgs84"),
        fromSouth ? 1 : 0,
        levelOffset,
        m_tileSize,
        m_format.c_str(),
        0,
        KxC::KxTime());
    source->m_strImageFormat = m_format.c_str();
    // Another reading of the same addresses shows other places: it has tiles of its own on disk.
    if (fromSouth || levelOffset != 0 || GridOf(scheme) != GridKind::WebMercator)
        source->m_strHashKey =
            KxC::KxUtility::GetValidHashKey(fmt::format("{} scheme {} rows {} offset {}",
                                                        urlTemplate.Cstr(),
                                                        scheme,
                                                        fromSouth ? "south" : "north",
                                                        levelOffset)
                                                .c_str());
    return source;
}

} // namespace KxTileHost
