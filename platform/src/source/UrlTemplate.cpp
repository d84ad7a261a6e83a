// SPDX-License-Identifier: MIT
#include "UrlTemplate.h"

#include "UrlScript.h"

#include <algorithm>
#include <array>

namespace KxC {

namespace {

/// What a script may return at most, and more than servers answer to.
constexpr std::size_t kLongestUrl = 8192;

constexpr std::size_t kAbsent = std::string_view::npos;

std::vector<std::string> SplitServers(const std::string& servers)
{
    std::vector<std::string> list;
    std::size_t from = 0;
    while ((from = servers.find_first_not_of(" ,", from)) != std::string::npos) {
        const std::size_t to = std::min(servers.find_first_of(" ,", from), servers.size());
        list.push_back(servers.substr(from, to - from));
        from = to;
    }
    return list;
}

bool IsRow(UrlTokenKind kind)
{
    return kind == UrlTokenKind::Row || kind == UrlTokenKind::RowFromSouth;
}

bool IsTile(UrlTokenKind kind)
{
    return kind != UrlTokenKind::Text && kind != UrlTokenKind::Server;
}

class UrlTemplateMaker
{
public:
    UrlTemplateMaker(UrlTokens tokens, const UrlContext& context)
        : m_tokens(std::move(tokens.tokens)), m_context(context)
    {
        m_result.errors = std::move(tokens.errors);
        m_result.warnings = std::move(tokens.warnings);
        m_result.misleading = std::move(tokens.misleading);
        m_result.foreign = tokens.foreign;
    }

    UrlTemplate Make(std::string_view url)
    {
        for (std::size_t at = 0; at < m_tokens.size(); ++at)
            Note(m_tokens[at], at);
        if (url.size() > kLongestUrl)
            Error("is longer than 8 KiB; no address is");
        CheckAllAreThere();
        if (!m_result.hasPlaceholders)
            MakeUnnamed();
        else if (!m_context.scripted && NeedsScript())
            MakeScript(url);
        else
            MakePlain();
        return std::move(m_result);
    }

private:
    enum Axis { kX, kY, kZ };

    void Error(const std::string& text) { m_result.errors.push_back(text); }
    bool HasTileNumber() const
    {
        return std::any_of(m_first.begin(), m_first.end(), [](auto at) { return at != kAbsent; });
    }

    void Note(const UrlToken& token, std::size_t at)
    {
        m_result.hasPlaceholders = m_result.hasPlaceholders || IsTile(token.kind);
        if (token.kind == UrlTokenKind::Column)
            NoteNumber(kX, at);
        else if (IsRow(token.kind))
            NoteNumber(kY, at);
        else if (token.kind == UrlTokenKind::Level)
            NoteNumber(kZ, at);
        else if (token.kind == UrlTokenKind::Server)
            NoteServer(token, at);
        m_needsPath = m_needsPath || token.kind == UrlTokenKind::TileCachePath ||
                      token.kind == UrlTokenKind::ArcGisPath;
        m_result.hasRowFromSouth =
            m_result.hasRowFromSouth || token.kind == UrlTokenKind::RowFromSouth;
        if (token.kind == UrlTokenKind::Quadkey) {
            m_repeated = m_repeated || m_result.hasQuadkey;
            m_result.hasQuadkey = true;
        }
        if (token.kind == UrlTokenKind::Level)
            m_result.levelOffset = token.levelOffset;
        if (IsTile(token.kind))
            m_firstTile = std::min(m_firstTile, at);
    }

    void NoteNumber(Axis axis, std::size_t at)
    {
        m_repeated = m_repeated || m_first[axis] != kAbsent;
        m_first[axis] = std::min(m_first[axis], at);
    }

    void NoteServer(const UrlToken& token, std::size_t at)
    {
        m_repeated = m_repeated || m_server != kAbsent;
        m_serverAfterTile = m_serverAfterTile || m_firstTile < at;
        m_server = at;
        m_result.hasServerPart = m_result.hasServerPart || token.servers.empty();
        for (const std::string& server : token.servers)
            m_result.servers += (m_result.servers.empty() ? "" : " ") + server;
    }

    bool NeedsScript() const
    {
        const bool turnedHalf =
            m_context.halfRows && (m_context.rowsFromSouth || m_result.hasRowFromSouth);
        return m_repeated || m_needsPath || m_serverAfterTile || turnedHalf ||
               (m_result.hasQuadkey && HasTileNumber());
    }

    void MakeScript(std::string_view url)
    {
        const std::vector<std::string> servers = SplitServers(m_context.servers);
        if (m_context.baidu)
            Error("needs a script, and none can be made for the scheme that writes negative "
                  "numbers with M; write one (key script)");
        if (m_result.hasServerPart && servers.empty())
            Error("holds a server placeholder behind a tile number or twice, but no server is "
                  "named; name them (key servers)");
        if (!m_result.errors.empty())
            return;
        m_result.script = MakeUrlScript(m_tokens, m_context, servers);
        m_result.text = url;
        // The script has them all in it.
        m_result.servers.clear();
        m_result.levelOffset = 0;
        m_result.hasRowFromSouth = false;
    }

    /// An address that names no tile number: one with "%d", a script's name, or a plain one.
    void MakeUnnamed()
    {
        std::size_t serverAt = 0;
        for (const UrlToken& token : m_tokens) {
            const bool server = token.kind == UrlTokenKind::Server;
            serverAt = server ? m_result.text.size() : serverAt;
            m_result.text += server ? ServerText(token) : token.text;
        }
        if (m_context.dialect != UrlDialect::Toml)
            Error("names no tile; the placeholders are {x}, {y} and {z}, or {quadkey}");
        if (m_server != kAbsent && m_repeated)
            Error("names the server twice, which takes the placeholders {$x}, {$y} and {$z}");
        if (m_server != kAbsent && m_result.text.find("%d") < serverAt)
            Error("holds the server placeholder after a tile number; the server part has to stand "
                  "before all of them, or the numbers have to be named {$x}, {$y} and {$z}");
    }

    void MakePlain()
    {
        for (std::size_t at = 0; at < m_tokens.size(); ++at)
            AppendPlain(m_tokens[at], at + 1 < m_tokens.size());
        if (HasTileNumber())
            m_result.axisOrder = AxisOrder();
        if (m_context.dialect == UrlDialect::Toml && LacksNumber())
            m_result.misleading.emplace_back(
                "holds some of {$x}, {$y} and {$z} but not all; the missing ones count as "
                "standing first, so those that are there receive the wrong numbers");
    }

    bool LacksNumber() const
    {
        return HasTileNumber() && !m_result.hasQuadkey && !m_needsPath &&
               std::find(m_first.begin(), m_first.end(), kAbsent) != m_first.end();
    }

    void CheckAllAreThere()
    {
        if (m_context.dialect != UrlDialect::Toml && LacksNumber())
            Error("lacks the column, the row or the level; all of {x}, {y} and {z} have to be "
                  "there");
    }

    void AppendPlain(const UrlToken& token, bool placeholderFollows)
    {
        if (token.kind == UrlTokenKind::Server)
            m_result.text += ServerText(token);
        else if (token.kind == UrlTokenKind::Quadkey)
            m_result.text += "%s";
        else if (token.kind != UrlTokenKind::Text)
            m_result.text += "%d";
        else
            AppendEscaped(token.text, placeholderFollows);
    }

    static std::string ServerText(const UrlToken& token)
    {
        return token.text == "{$Serverpart}" ? token.text : "{$serverpart}";
    }

    /// Doubles the percent signs that would be read together with what follows them. A
    /// placeholder will itself begin with one.
    void AppendEscaped(const std::string& text, bool placeholderFollows)
    {
        for (std::size_t at = 0; at < text.size(); ++at) {
            const bool last = at + 1 == text.size();
            const char next = last ? '\0' : text[at + 1];
            const bool converts =
                next == 's' || next == 'd' || next == '%' || (last && placeholderFollows);
            m_result.text.append(text[at] == '%' && converts ? 2 : 1, text[at]);
        }
    }

    /// X, Y and Z by their places; absent ones first, those in a tie in this order.
    std::string AxisOrder() const
    {
        std::array<Axis, 3> order = {kX, kY, kZ};
        std::stable_sort(order.begin(), order.end(), [this](Axis left, Axis right) {
            return m_first[left] + 1 < m_first[right] + 1; // absent wraps to 0
        });
        std::string text;
        for (const Axis axis : order)
            text += (text.empty() ? "" : ",") + std::string(1, "XYZ"[axis]);
        return text;
    }

    std::vector<UrlToken> m_tokens;
    const UrlContext& m_context;
    UrlTemplate m_result;
    std::array<std::size_t, 3> m_first = {kAbsent, kAbsent, kAbsent};
    std::size_t m_firstTile = kAbsent;
    std::size_t m_server = kAbsent;
    bool m_repeated = false;
    bool m_needsPath = false;
    bool m_serverAfterTile = false;
};

} // namespace

UrlTemplate ParseUrlTemplate(std::string_view url, const UrlContext& context)
{
    return UrlTemplateMaker(ReadUrlTokens(url, context.dialect), context).Make(url);
}

} // namespace KxC
