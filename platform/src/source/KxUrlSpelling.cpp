// SPDX-License-Identifier: MIT
#include "KxUrlSpelling.h"

#include "UrlTokens.h"

#include <array>
#include <exception>
#include <string>

namespace KxC {

namespace {

KxString ToKxString(const std::string& text)
{
    return {text.data(), static_cast<int>(text.size())};
}

/// Writes the pieces of an address anew, as long as each stands once and a server before all else.
class Speller
{
public:
    KxUrlSpelling Spell(const UrlTokens& tokens)
    {
        for (const UrlToken& token : tokens.tokens)
            Add(token);
        m_spelling.m_strUrl = ToKxString(m_url);
        m_spelling.m_strServerParts = ToKxString(m_servers);
        m_spelling.m_bForeign = true;
        const auto& words = tokens.errors.empty() ? tokens.misleading : tokens.errors;
        if (!words.empty())
            m_spelling.m_strFault = ToKxString(words.front());
        else if (m_needsScript)
            m_spelling.m_strFault =
                "says more than a command line can; write it into a definition as its url";
        return m_spelling;
    }

private:
    void Add(const UrlToken& token)
    {
        m_needsScript = m_needsScript || token.kind == UrlTokenKind::TileCachePath ||
                        token.kind == UrlTokenKind::ArcGisPath ||
                        (token.kind != UrlTokenKind::Text && IsRepeated(token.kind));
        switch (token.kind) {
        case UrlTokenKind::Column:
            return AddNumber("{$x}");
        case UrlTokenKind::RowFromSouth:
            m_spelling.m_bRowsFromSouth = true;
            return AddNumber("{$y}");
        case UrlTokenKind::Row:
            return AddNumber("{$y}");
        case UrlTokenKind::Level:
            m_spelling.m_nLevelOffset = token.levelOffset;
            return AddNumber("{$z}");
        case UrlTokenKind::Quadkey:
            return AddNumber("{$quadkey}");
        case UrlTokenKind::Server:
            return AddServer(token);
        default:
            m_url += token.text;
        }
    }

    void AddNumber(const char* placeholder)
    {
        m_url += placeholder;
        m_hasNumber = true;
    }

    void AddServer(const UrlToken& token)
    {
        m_url += "{$serverpart}";
        m_needsScript = m_needsScript || m_hasNumber;
        for (const std::string& server : token.servers)
            m_servers += (m_servers.empty() ? "" : ",") + server;
    }

    bool IsRepeated(UrlTokenKind kind)
    {
        const UrlTokenKind one = kind == UrlTokenKind::RowFromSouth ? UrlTokenKind::Row : kind;
        bool& seen = m_seen[static_cast<std::size_t>(one)];
        const bool repeated = seen;
        seen = true;
        return repeated;
    }

    KxUrlSpelling m_spelling;
    std::string m_url;
    std::string m_servers;
    std::array<bool, 9> m_seen{}; ///< by kind
    bool m_hasNumber = false;
    bool m_needsScript = false;
};

} // namespace

KxUrlSpelling SpellUrl(const KxString& url)
{
    KxUrlSpelling spelling;
    try {
        spelling.m_strUrl = url;
        const UrlTokens tokens = ReadUrlTokens(
            {url.Cstr(), static_cast<std::size_t>(url.GetLength())}, UrlDialect::Toml);
        return tokens.foreign ? Speller().Spell(tokens) : spelling;
    } catch (const std::exception&) {
        spelling.m_strFault = "is more than memory holds";
        return spelling;
    }
}

} // namespace KxC
