// SPDX-License-Identifier: MIT
#include "UrlTokens.h"

#include "Report.h"
#include "TextRules.h"
#include "UrlWords.h"

#include <algorithm>
#include <optional>

namespace KxC {

namespace {

constexpr std::size_t kMaxPlaceholders = 64;
constexpr std::size_t kMaxWarnings = 8;
/// What may stand between braces and still be meant as a placeholder.
constexpr std::size_t kLongestGroup = 1024;

class UrlTokenReader
{
public:
    UrlTokenReader(std::string_view url, UrlDialect dialect) : m_url(url), m_dialect(dialect) {}

    UrlTokens Read()
    {
        while (m_at < m_url.size() && m_result.errors.empty())
            ReadOne();
        KeepOneServerSpelling();
        return std::move(m_result);
    }

private:
    void ReadOne()
    {
        const char byte = m_url[m_at];
        if (m_dialect == UrlDialect::MapProxy && byte == '%' && ReadPercent())
            return;
        if (byte == '$' && m_at + 1 < m_url.size() && m_url[m_at + 1] == '{')
            ReadDollar();
        else if (byte != '{' || !ReadGroup(m_at + 1, m_at))
            AddText(m_url.substr(m_at++, 1));
    }

    /// "${...}" is a placeholder for GDAL, and a plain text (what "$${" gave) for the others.
    void ReadDollar()
    {
        if (m_dialect == UrlDialect::Gdal && ReadGroup(m_at + 2, m_at))
            return;
        const std::size_t close = std::min(m_url.find('}', m_at), m_url.size());
        const std::string_view name = m_url.substr(m_at + 2, close - m_at - 2);
        if (m_dialect == UrlDialect::Web && LooksNamed(name))
            Warn("${" + std::string(name) +
                 "} is not filled in here; write {x}, {y} and {z} without the dollar sign");
        AddText(m_url.substr(m_at, 2));
        m_at += 2;
    }

    /// The group whose word begins at `from`, as a placeholder that is written from `start` on.
    bool ReadGroup(std::size_t from, std::size_t start)
    {
        const std::size_t close = m_url.substr(0, from + kLongestGroup).find('}', from);
        if (close == std::string_view::npos)
            return false;
        const std::string_view group = m_url.substr(from, close - from);
        const std::string_view written = m_url.substr(start, close + 1 - start);
        if (!TakeWord(group, written) && !TakeServers(group, written) && !TakeOther(group, written))
            return false;
        m_at = close + 1;
        return true;
    }

    bool TakeWord(std::string_view group, std::string_view written)
    {
        const std::optional<UrlTokenKind> own = MeaningOfOwnWord(group);
        const std::optional<UrlTokenKind> kind = own ? own : MeaningOfWord(group);
        const std::optional<int> offset = LevelOffset(group);
        if (!kind && !offset)
            return false;
        m_result.foreign = m_result.foreign || !own;
        Add({kind.value_or(UrlTokenKind::Level), std::string(written), offset.value_or(0), {}});
        return true;
    }

    bool TakeServers(std::string_view group, std::string_view written)
    {
        std::vector<std::string> servers = ServersOf(group);
        if (group == "server_num" && m_dialect == UrlDialect::Gdal)
            servers = {"0", "1", "2", "3"};
        if (servers.empty())
            return false;
        AddServers(std::move(servers), written);
        return true;
    }

    void AddServers(std::vector<std::string> servers, std::string_view written)
    {
        const bool bad = std::any_of(servers.begin(), servers.end(), [](const std::string& server) {
            return server.empty() || HasControl(server) || server.find(' ') != std::string::npos;
        });
        if (bad)
            Error(Printable(written) + " has a choice that is empty or holds a blank; write a "
                                       "text for each, such as {switch:a,b}");
        if (servers.size() > kMaxServers)
            Error(Printable(written) + " names more than 64 servers; name fewer");
        m_result.foreign = true;
        Add({UrlTokenKind::Server, std::string(written), 0, std::move(servers)});
    }

    /// Placeholders that mean something but not a tile's number; false for what is none.
    bool TakeOther(std::string_view group, std::string_view written)
    {
        if (group == "r") {
            Warn("{r} is left empty, so tiles come in their plain size; for those of twice the "
                 "size write a definition of its own with @2x in its place and tile_size = 512");
            m_result.foreign = true;
            return true;
        }
        if (LooksNamed(group))
            NoteUnknown(group, written);
        else
            NoteOtherBraces();
        return false;
    }

    /// What stands in them is not quoted: it may be a key.
    void NoteOtherBraces()
    {
        const std::string text = "holds braces around what is no placeholder, and they would go "
                                 "out as they are; write %7B and %7D for braces that are meant";
        if (m_dialect != UrlDialect::Toml)
            Error(text);
        else if (std::find(m_result.warnings.begin(), m_result.warnings.end(), text) ==
                 m_result.warnings.end())
            Warn(text);
    }

    void NoteUnknown(std::string_view group, std::string_view written)
    {
        const std::string text = Printable(written) + VerdictOnUnknown(group);
        if (m_dialect != UrlDialect::Toml)
            Error(text);
        else if (IsMisspelt(group))
            Mislead(text);
        else
            Warn(text);
    }

    /// MapProxy's "%(x)s" and "%%"; false where a percent sign stands for itself.
    bool ReadPercent()
    {
        if (m_url.substr(m_at, 2) == "%%") {
            AddText("%");
            m_at += 2;
            return true;
        }
        const std::size_t close = m_url.substr(0, m_at + 64).find(')', m_at);
        const bool named = m_url.substr(m_at, 2) == "%(" && close != std::string_view::npos &&
                           close + 1 < m_url.size();
        if (!named || (m_url[close + 1] != 's' && m_url[close + 1] != 'd'))
            return false;
        TakePercent(m_url.substr(m_at + 2, close - m_at - 2), m_url.substr(m_at, close + 2 - m_at));
        m_at = close + 2;
        return true;
    }

    void TakePercent(std::string_view word, std::string_view written)
    {
        m_result.foreign = true;
        if (const auto kind = MeaningOfMapProxyWord(word)) {
            Add({*kind, std::string(written), 0, {}});
        } else if (word == "tms_path") {
            Add({UrlTokenKind::Level, std::string(written), 0, {}});
            AddText("/");
            Add({UrlTokenKind::Column, "", 0, {}});
            AddText("/");
            Add({UrlTokenKind::Row, "", 0, {}});
        } else {
            Error(Printable(written) +
                  (word == "bbox" ? " asks by extent, which cannot be expressed; find the "
                                    "service's address by tile numbers"
                                  : " is not known; the placeholders are %(z)s, %(x)s, %(y)s, "
                                    "%(quadkey)s, %(tms_path)s, %(tc_path)s and "
                                    "%(arcgiscache_path)s"));
        }
    }

    /// A record replaces one spelling of the server placeholder; beside {$serverpart} the other
    /// one stays a text.
    void KeepOneServerSpelling()
    {
        const auto spelled = [](std::string_view spelling) {
            return [spelling](const UrlToken& token) {
                return token.kind == UrlTokenKind::Server && token.text == spelling;
            };
        };
        std::vector<UrlToken>& tokens = m_result.tokens;
        if (std::none_of(tokens.begin(), tokens.end(), spelled("{$serverpart}")) ||
            std::none_of(tokens.begin(), tokens.end(), spelled("{$Serverpart}")))
            return;
        Warn("{$Serverpart} stays as it is beside {$serverpart}; write both alike");
        UrlTokens merged = std::move(m_result);
        m_result.tokens.clear();
        for (UrlToken& token : merged.tokens) {
            if (token.kind == UrlTokenKind::Text || token.text == "{$Serverpart}")
                AddText(token.text);
            else
                m_result.tokens.push_back(std::move(token));
        }
        m_result.foreign = merged.foreign;
        m_result.errors = std::move(merged.errors);
        m_result.warnings = std::move(merged.warnings);
        m_result.misleading = std::move(merged.misleading);
    }

    void Add(UrlToken token)
    {
        m_result.tokens.push_back(std::move(token));
        if (++m_placeholders > kMaxPlaceholders)
            Error("holds more than 64 placeholders; an address needs few");
    }

    void AddText(std::string_view text)
    {
        if (m_result.tokens.empty() || m_result.tokens.back().kind != UrlTokenKind::Text)
            m_result.tokens.push_back({});
        m_result.tokens.back().text += text;
    }

    void Error(const std::string& text) { m_result.errors.push_back(text); }
    void Mislead(const std::string& text)
    {
        if (m_result.misleading.size() < kMaxWarnings)
            m_result.misleading.push_back(text);
    }
    void Warn(const std::string& text)
    {
        if (m_result.warnings.size() < kMaxWarnings)
            m_result.warnings.push_back(text);
    }

    std::string_view m_url;
    UrlDialect m_dialect;
    std::size_t m_at = 0;
    std::size_t m_placeholders = 0;
    UrlTokens m_result;
};

} // namespace

UrlTokens ReadUrlTokens(std::string_view url, UrlDialect dialect)
{
    return UrlTokenReader(url, dialect).Read();
}

} // namespace KxC
