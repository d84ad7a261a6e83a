// SPDX-License-Identifier: MIT
#include "JsonDocument.h"

#include "TextRules.h"

#include <algorithm>
#include <set>

namespace KxC {

namespace {

constexpr int kMaxDepth = 32;

/// The first byte that opens too deep a level, or the size of the text when none does.
std::size_t FindTooDeep(std::string_view text)
{
    int depth = 0;
    bool inText = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char byte = text[at];
        if (byte == '"')
            inText = !inText;
        else if (byte == '\\' && inText)
            ++at;
        else if (!inText && (byte == '{' || byte == '['))
            ++depth;
        else if (!inText && (byte == '}' || byte == ']'))
            --depth;
        if (depth > kMaxDepth)
            return at;
    }
    return text.size();
}

} // namespace

bool JsonDocument::Parse(Report& report)
{
    const std::size_t deep = FindTooDeep(m_text);
    if (deep < m_text.size()) {
        report.Error(LineAt(m_text, deep), "", "is nested deeper than 32 levels; TileJSON is not");
        return false;
    }
    std::set<std::string> keys;
    // One is told of: finding its line takes a search of the whole text.
    bool toldOfTwice = false;
    const auto noteKey = [&](int depth, nlohmann::json::parse_event_t event, nlohmann::json& key) {
        const bool top = depth == 1 && event == nlohmann::json::parse_event_t::key;
        if (!top || keys.insert(key.get<std::string>()).second || toldOfTwice)
            return true;
        toldOfTwice = true;
        report.Error(LineOf(key.get<std::string>()),
                     key.get<std::string>(),
                     "stands twice; keep one of them");
        return true;
    };
    try {
        m_value = nlohmann::json::parse(m_text, noteKey);
    } catch (const nlohmann::json::parse_error& error) {
        report.Error(LineAt(m_text, error.byte > 0 ? error.byte - 1 : 0),
                     "",
                     "is not JSON; a comma, a quote or a bracket is missing or one too many");
        return false;
    } catch (const nlohmann::json::out_of_range&) {
        report.Error(0, "", "holds a number that is too large; write a smaller one");
        return false;
    }
    return true;
}

const nlohmann::json* JsonDocument::Find(const std::string& key) const
{
    const auto found = m_value.find(key);
    return found == m_value.end() ? nullptr : &*found;
}

int JsonDocument::LineOf(const std::string& key) const
{
    const std::string quoted = '"' + key + '"';
    for (std::size_t at = m_text.find(quoted); at != std::string_view::npos;
         at = m_text.find(quoted, at + 1)) {
        const std::size_t next = m_text.find_first_not_of(" \t\r\n", at + quoted.size());
        if (next != std::string_view::npos && m_text[next] == ':')
            return LineAt(m_text, at);
    }
    return 0;
}

} // namespace KxC
