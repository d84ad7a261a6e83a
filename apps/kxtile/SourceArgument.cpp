// SPDX-License-Identifier: MIT
#include "SourceArgument.h"

#include "Command.h"
#include "KxUtility.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <map>

namespace KxTileHost {

namespace {

constexpr char kTemplateOptions[] = "For a URL template";
constexpr int kSchemeBingMap = 6;
constexpr int kSchemeWebMercator = 10;

const std::map<std::string, int> kSchemes{{"mercator", kSchemeWebMercator},
                                          {"quadkey", kSchemeBingMap},
                                          {"tianditu", 5},
                                          {"geographic", 9},
                                          {"baidu", 4}};
const std::map<std::string, int> kDatums{{"wgs84", 0}, {"gcj02", 1}, {"bd09", 2}};

std::string Describe(const KxC::KxTSDMessage& message)
{
    std::string text;
    if (message.m_nLine > 0)
        text += fmt::format("line {}: ", message.m_nLine);
    if (message.m_strKey.IsEmpty() == 0)
        text += fmt::format("{}: ", message.m_strKey.Cstr());
    return text + message.m_strText.Cstr();
}

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

void SourceArgument::AddTo(CLI::App& command, Presence presence)
{
    command.add_option("SOURCE", m_text, "Definition file, or URL template with {$x} {$y} {$z}")
        ->required(presence == kRequired);
    command.add_option("--servers", m_servers, "Server parts for {$serverpart}, as in 'a,b,c'")
        ->group(kTemplateOptions);
    command.add_option("--scheme", m_scheme, "Tiling scheme, by name or number")
        ->check(NameOrNumber(kSchemes))
        ->group(kTemplateOptions);
    command.add_option("--datum", m_datum, "Datum of the tiles")
        ->check(CLI::IsMember(kDatums))
        ->group(kTemplateOptions);
    command.add_option("--rows", m_rows, "Where the service counts rows from")
        ->check(CLI::IsMember({"north", "south"}))
        ->group(kTemplateOptions);
    command.add_option("--level-offset", m_levelOffset, "Added to the level in the URL")
        ->group(kTemplateOptions);
    command.add_option("--tile-size", m_tileSize, "Edge of a tile, in pixels")
        ->check(CLI::Range(1, 8192))
        ->group(kTemplateOptions);
    command.add_option("--format", m_format, "Format text; one that ends in gzip is inflated")
        ->group(kTemplateOptions);
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
    return Secrets(IsTemplate() ? std::string() : m_text);
}

std::string SourceArgument::GetName() const
{
    return IsTemplate() ? m_text : std::filesystem::path(m_text).stem().string();
}

bool SourceArgument::IsTemplate() const
{
    return m_text.find("://") != std::string::npos;
}

KxC::KxTSDParamItem* SourceArgument::Load() const
{
    KxC::KxTSDParamItem* source = IsTemplate() ? LoadTemplate() : LoadDefinition();
    // This process has just made the record, and nobody else reads it yet.
    if (!m_userAgent.empty())
        source->m_strUserAgent = m_userAgent.c_str();
    for (const std::string& header : m_headers)
        source->m_arrRequestHeaders.Add(header.c_str());
    return source;
}

KxC::KxTSDParamItem* SourceArgument::LoadDefinition() const
{
    KxC::KxTSDParamItem* source = KxC::m_gTSDParamManager.GetTSDParam(m_text.c_str());
    std::string errors;
    for (const KxC::KxTSDMessage& message : KxC::KxUtility::GetLastTSDMessages()) {
        if (message.m_bError)
            errors += (errors.empty() ? "" : "\n        ") + Describe(message);
        else
            fmt::print(stderr, "kxtile: {}: warning: {}\n", m_text, Describe(message));
    }
    if (!errors.empty())
        throw CommandError(
            kExitFailed, fmt::format("cannot use the definition '{}'", m_text), errors);
    return source;
}

KxC::KxTSDParamItem* SourceArgument::LoadTemplate() const
{
    const bool byQuadKey = m_text.find("{$quadkey}") != std::string::npos;
    const bool named =
        m_text.find("{$x}") != std::string::npos || m_text.find("{$y}") != std::string::npos;
    if (!byQuadKey && !named && m_text.find("%d") == std::string::npos)
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' has no tile placeholder", m_text),
                           "Write {$x}, {$y} and {$z}, or {$quadkey}, where the tile's numbers "
                           "stand; quote the argument for the shell.");
    KxC::KxString urlTemplate(byQuadKey || named ? EscapePercentSigns(m_text).c_str()
                                                 : m_text.c_str());
    urlTemplate.Replace("{$quadkey}", "%s");
    const int scheme = !m_scheme.empty() ? CodeOf(kSchemes, m_scheme)
                       : byQuadKey       ? kSchemeBingMap
                                         : kSchemeWebMercator;
    KxC::KxTSDParamItem* source =
        KxC::m_gTSDParamManager.GetTSDParam(urlTemplate,
                                            m_servers.c_str(),
                                            scheme,
                                            m_datum.empty() ? 0 : kDatums.at(m_datum),
                                            m_rows == "south" ? 1 : 0,
                                            m_levelOffset,
                                            m_tileSize,
                                            m_format.c_str(),
                                            0,
                                            KxC::KxTime());
    source->m_strImageFormat = m_format.c_str();
    return source;
}

} // namespace KxTileHost
