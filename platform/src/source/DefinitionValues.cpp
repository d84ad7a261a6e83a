// SPDX-License-Identifier: MIT
#include "DefinitionValues.h"

#include "Environment.h"
#include "TextRules.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace KxC {

namespace {

bool IsBlankOrComma(char byte)
{
    return byte == ' ' || byte == ',' || byte == '\t' || byte == '\n' || byte == '\r';
}

std::string KindOf(const toml::node& node)
{
    switch (node.type()) {
    case toml::node_type::string:
        return "a text";
    case toml::node_type::integer:
        return "an integer";
    case toml::node_type::floating_point:
        return "a number with a fraction";
    case toml::node_type::boolean:
        return "true or false";
    case toml::node_type::array:
        return "a list";
    case toml::node_type::table:
        return "a table";
    default:
        return "a date or a time";
    }
}

int LineOf(const toml::node& node)
{
    return static_cast<int>(node.source().begin.line);
}

} // namespace

int DefinitionValues::Line(std::string_view key) const
{
    const toml::node* node = Find(key);
    return node == nullptr ? 0 : LineOf(*node);
}

void DefinitionValues::Error(std::string_view key, const std::string& text)
{
    m_report.Error(Line(key), m_prefix + std::string(key), text);
}

void DefinitionValues::Warn(std::string_view key, const std::string& text)
{
    m_report.Warn(Line(key), m_prefix + std::string(key), text);
}

void DefinitionValues::Mislead(std::string_view key, const std::string& text)
{
    m_report.Mislead(Line(key), m_prefix + std::string(key), text);
}

void DefinitionValues::Mistyped(std::string_view key,
                                const toml::node& node,
                                std::string_view wanted)
{
    m_report.Error(LineOf(node),
                   m_prefix + std::string(key),
                   "is " + KindOf(node) + "; it has to be " + std::string(wanted));
}

std::optional<std::string> DefinitionValues::Text(std::string_view key)
{
    const toml::node* node = Find(key);
    if (node == nullptr)
        return std::nullopt;
    const std::optional<std::string> text = node->value_exact<std::string>();
    if (!text)
        Mistyped(key, *node, "a text in quotes, such as " + std::string(key) + " = \"...\"");
    else if (text->find('\0') != std::string::npos)
        Error(key, "holds a NUL character; leave it out");
    return text;
}

std::optional<std::string> DefinitionValues::Expanded(std::string_view key, const std::string& text)
{
    ExpansionProblem problem;
    std::optional<std::string> expanded = ExpandVariables(text, problem);
    if (!expanded && problem.onlyUnset)
        m_report.Lack(Line(key), m_prefix + std::string(key), problem.text);
    else if (!expanded)
        Error(key, problem.text);
    return expanded;
}

std::optional<std::string> DefinitionValues::ScriptOfEnvironment(std::string_view key)
{
    const std::optional<std::string> text = Text(key);
    return text ? Expanded(key, *text) : std::nullopt;
}

std::optional<std::string> DefinitionValues::TextOfEnvironment(std::string_view key)
{
    const std::optional<std::string> expanded = ScriptOfEnvironment(key);
    if (expanded && HasControl(*expanded))
        Error(key, "holds a line break or another control character; leave it out");
    return expanded;
}

std::optional<std::string> DefinitionValues::TextOrInteger(std::string_view key)
{
    const toml::node* node = Find(key);
    if (node == nullptr || !node->is_integer())
        return Text(key);
    const std::optional<int> number = Integer(key);
    return number ? std::optional(std::to_string(*number)) : std::nullopt;
}

std::optional<int> DefinitionValues::Integer(std::string_view key)
{
    const toml::node* node = Find(key);
    if (node == nullptr)
        return std::nullopt;
    const std::optional<std::int64_t> number = node->value_exact<std::int64_t>();
    if (!number) {
        Mistyped(key, *node, "an integer without quotes, such as " + std::string(key) + " = 1");
        return std::nullopt;
    }
    if (*number < std::numeric_limits<int>::min() || *number > std::numeric_limits<int>::max()) {
        Error(key, "is outside 32 bits; it has to lie between -2147483648 and 2147483647");
        return std::nullopt;
    }
    return static_cast<int>(*number);
}

std::optional<double> DefinitionValues::Number(std::string_view key)
{
    const toml::node* node = Find(key);
    if (node == nullptr)
        return std::nullopt;
    const bool isNumber = node->is_integer() || node->is_floating_point();
    const std::optional<double> number = isNumber ? node->value<double>() : std::nullopt;
    if (!number)
        Mistyped(key, *node, "a number of degrees, such as " + std::string(key) + " = 10.5");
    else if (!std::isfinite(*number))
        Error(key, "is infinite or not a number; it has to be a number of degrees");
    return number;
}

std::optional<bool> DefinitionValues::Flag(std::string_view key)
{
    const toml::node* node = Find(key);
    if (node == nullptr)
        return std::nullopt;
    const std::optional<bool> flag = node->value_exact<bool>();
    if (!flag)
        Mistyped(key, *node, "true or false, without quotes");
    return flag;
}

const toml::table* DefinitionValues::Table(std::string_view key)
{
    const toml::node* node = Find(key);
    if (node != nullptr && !node->is_table())
        Mistyped(key, *node, "a table, headed by a line [" + std::string(key) + "]");
    return node == nullptr ? nullptr : node->as_table();
}

std::optional<std::string> DefinitionValues::Word(std::string_view key, const toml::node& node)
{
    const std::optional<std::string> text = node.value_exact<std::string>();
    if (!text) {
        Mistyped(key, node, "a text in quotes or a list of them");
        return std::nullopt;
    }
    const std::optional<std::string> word = Expanded(key, *text);
    if (word && (word->empty() || std::any_of(word->begin(), word->end(), IsBlankOrComma)))
        Error(key,
              "has an entry that is empty or holds a blank or a comma; give each its own "
              "entry");
    return word;
}

std::optional<std::string> DefinitionValues::Words(std::string_view key)
{
    const toml::node* node = Find(key);
    if (node == nullptr)
        return std::nullopt;
    std::string words;
    if (const toml::array* list = node->as_array()) {
        for (const toml::node& entry : *list)
            words += (words.empty() ? "" : " ") + Word(key, entry).value_or("");
    } else {
        const std::optional<std::string> text = Text(key);
        words = text ? Expanded(key, *text).value_or("") : "";
        std::replace_if(
            words.begin(),
            words.end(),
            [](char c) { return c == '\t' || c == '\n' || c == '\r'; },
            ' ');
    }
    if (HasControl(words))
        Error(key, "holds a control character; leave it out");
    return words;
}

void DefinitionValues::AddHeaderLine(std::string_view key,
                                     const toml::node& node,
                                     std::string_view name,
                                     std::vector<std::string>& lines)
{
    const std::optional<std::string> text = node.value_exact<std::string>();
    if (!text) {
        Mistyped(key, node, "a text in quotes");
        return;
    }
    const std::optional<std::string> value = Expanded(key, *text);
    const std::string line = (name.empty() ? "" : std::string(name) + ": ") + value.value_or("X:");
    // The line itself stays out of the message: headers carry keys and passwords.
    if (value && !IsHeaderLine(line))
        m_report.Error(LineOf(node),
                       m_prefix + std::string(key),
                       "has an entry that is no header line; write \"Name: value\" on one line, "
                       "without control characters");
    lines.push_back(line);
}

void DefinitionValues::AddHeaderTable(std::string_view key,
                                      const toml::table& table,
                                      std::vector<std::string>& lines)
{
    for (const auto& [name, value] : table) {
        const std::string_view nameText = name.str();
        if (!IsHeaderName(nameText))
            m_report.Error(LineOf(value),
                           m_prefix + std::string(key),
                           "has " + Printable(nameText) +
                               " where a header's name has to stand; a name is letters, digits "
                               "and dashes");
        else
            AddHeaderLine(key, value, nameText, lines);
    }
}

std::vector<std::string> DefinitionValues::HeaderLines(std::string_view key)
{
    std::vector<std::string> lines;
    const toml::node* node = Find(key);
    if (node == nullptr)
        return lines;
    if (const toml::array* list = node->as_array()) {
        for (const toml::node& entry : *list)
            AddHeaderLine(key, entry, "", lines);
    } else if (const toml::table* table = node->as_table()) {
        AddHeaderTable(key, *table, lines);
    } else {
        Mistyped(key, *node, "a list of \"Name: value\" texts, or a table [headers]");
    }
    return lines;
}

} // namespace KxC
