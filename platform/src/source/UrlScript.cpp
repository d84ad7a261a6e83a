// SPDX-License-Identifier: MIT
#include "UrlScript.h"

#include <algorithm>

namespace KxC {

namespace {

bool IsPlain(char byte)
{
    return byte >= ' ' && byte <= '~' && byte != '"' && byte != '\\';
}

/// A Lua string literal; every byte that could end or bend it is written as its number.
std::string Quoted(std::string_view text)
{
    std::string quoted = "\"";
    for (const char byte : text) {
        const std::string digits = std::to_string(static_cast<unsigned char>(byte));
        if (IsPlain(byte))
            quoted += byte;
        else
            quoted += "\\" + std::string(3 - digits.size(), '0') + digits;
    }
    return quoted + "\"";
}

class ScriptWriter
{
public:
    ScriptWriter(const UrlContext& context, const std::vector<std::string>& servers)
        : m_context(context), m_servers(servers)
    {
    }

    std::string Write(const std::vector<UrlToken>& tokens) const
    {
        std::string body;
        for (const UrlToken& token : tokens)
            body += (body.empty() ? "        " : " ..\n        ") + Expression(token);
        return Helpers(tokens) + "function GetTileURL(level, row, col)\n    return\n" + body +
               "\nend\n";
    }

private:
    static bool Has(const std::vector<UrlToken>& tokens, UrlTokenKind kind)
    {
        return std::any_of(
            tokens.begin(), tokens.end(), [&](const UrlToken& t) { return t.kind == kind; });
    }

    static std::string Helpers(const std::vector<UrlToken>& tokens)
    {
        std::string text;
        if (Has(tokens, UrlTokenKind::Server))
            text += "local function server(list, row, col)\n"
                    "    return list[(row + col) % #list + 1]\n"
                    "end\n";
        if (Has(tokens, UrlTokenKind::Quadkey))
            text += "local function quadkey(level, row, col)\n"
                    "    local key = \"\"\n"
                    "    for bit = level - 1, 0, -1 do\n"
                    "        key = key .. ((col >> bit & 1) + 2 * (row >> bit & 1))\n"
                    "    end\n"
                    "    return key\n"
                    "end\n";
        if (Has(tokens, UrlTokenKind::TileCachePath))
            text += "local function threes(number)\n"
                    "    return string.format(\"%03d/%03d/%03d\", number // 1000000,\n"
                    "                         number // 1000 % 1000, number % 1000)\n"
                    "end\n";
        return text;
    }

    std::string Expression(const UrlToken& token) const
    {
        switch (token.kind) {
        case UrlTokenKind::Text:
            return Quoted(token.text);
        case UrlTokenKind::Column:
            return "col";
        case UrlTokenKind::Row:
            return Row();
        case UrlTokenKind::RowFromSouth:
            return RowFromSouth();
        case UrlTokenKind::Level:
            return Level(token.levelOffset);
        case UrlTokenKind::Quadkey:
            return "quadkey(level, " + RowFromNorth() + ", col)";
        case UrlTokenKind::Server:
            return "server({" + List(token.servers.empty() ? m_servers : token.servers) +
                   "}, row, col)";
        case UrlTokenKind::TileCachePath:
            return "string.format(\"%02d\", " + Level(0) +
                   ") .. \"/\" .. threes(col) .. \"/\" .. "
                   "threes(" +
                   Row() + ")";
        case UrlTokenKind::ArcGisPath:
            return "string.format(\"L%02d/R%08x/C%08x\", " + Level(0) + ", " + Row() + ", col)";
        }
        return "\"\"";
    }

    static std::string List(const std::vector<std::string>& texts)
    {
        std::string list;
        for (const std::string& text : texts)
            list += (list.empty() ? "" : ", ") + Quoted(text);
        return list;
    }

    std::string Level(int offset) const
    {
        const long long sum = static_cast<long long>(m_context.levelOffset) + offset;
        return sum == 0 ? "level" : "(level + " + std::to_string(sum) + ")";
    }

    std::string Row() const { return m_context.rowsFromSouth ? RowFromSouth() : RowFromNorth(); }

    // A script is handed the row as the source counts: from the south where it says so.
    std::string RowFromNorth() const
    {
        return m_context.rowsFromSouth && !m_context.halfRows ? "((1 << level) - 1 - row)" : "row";
    }

    std::string RowFromSouth() const
    {
        if (m_context.halfRows)
            return "((1 << level) // 2 - 1 - row)";
        return m_context.rowsFromSouth ? "row" : "((1 << level) - 1 - row)";
    }

    const UrlContext& m_context;
    const std::vector<std::string>& m_servers;
};

} // namespace

std::string MakeUrlScript(const std::vector<UrlToken>& tokens,
                          const UrlContext& context,
                          const std::vector<std::string>& servers)
{
    return ScriptWriter(context, servers).Write(tokens);
}

} // namespace KxC
