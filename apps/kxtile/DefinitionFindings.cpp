// SPDX-License-Identifier: MIT
#include "DefinitionFindings.h"

#include "KxLuaToolkit.h"
#include "KxTileFetcher.h"
#include "KxUtility.h"

#include <fmt/format.h>

#include <algorithm>

namespace KxTileHost {

namespace {

std::string WithoutLineBreaks(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return text;
}

void CheckScript(KxC::KxTSDParamItem& source,
                 const std::string& path,
                 std::vector<Finding>& findings)
{
    const std::string loadError = KxC::KxLuaToolkit::GetLastError().Cstr();
    if (!loadError.empty()) {
        findings.push_back({path, 0, "script", true, "does not load: " + loadError});
        return;
    }
    const int level = std::clamp(source.m_levelBounds.m_nMinLevel, 1, 30);
    const KxC::KxString url = KxC::KxTileFetcher::GetURL(&source, level, 0, 0);
    const std::string runError = KxC::KxLuaToolkit::GetLastError().Cstr();
    if (url.IsEmpty() != 0)
        findings.push_back({path,
                            0,
                            "script",
                            false,
                            fmt::format("gives no address for the tile in the south-west of level "
                                        "{}: {}",
                                        level,
                                        runError)});
}

} // namespace

const char* SeverityOf(const Finding& finding)
{
    return finding.m_error ? "error" : "warning";
}

std::string AsLine(const Finding& finding)
{
    const std::string line = finding.m_line > 0 ? fmt::format(":{}", finding.m_line) : "";
    const std::string key = finding.m_key.empty() ? "" : finding.m_key + ": ";
    return WithoutLineBreaks(fmt::format(
        "{}{}: {}: {}{}", finding.m_file, line, SeverityOf(finding), key, finding.m_text));
}

std::vector<Finding>
FindingsOfLoaded(KxC::KxTSDParamItem& source, const std::string& path, const Secrets& secrets)
{
    std::vector<Finding> findings;
    bool loaded = true;
    for (const KxC::KxTSDMessage& message : KxC::KxUtility::GetLastTSDMessages()) {
        loaded = loaded && !message.m_bError;
        findings.push_back({path,
                            message.m_nLine,
                            message.m_strKey.Cstr(),
                            message.m_bMisleads, // not of variables that are only not set here
                            message.m_strText.Cstr()});
    }
    if (loaded && source.m_bLuaScripted != 0)
        CheckScript(source, path, findings);
    for (Finding& finding : findings)
        finding.m_text = secrets.Mask(finding.m_text);
    return findings;
}

} // namespace KxTileHost
