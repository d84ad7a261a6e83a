// SPDX-License-Identifier: MIT
#pragma once

#include "Report.h"

#include <toml++/toml.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace KxC {

/// One table of a definition, read value by value; a value of the wrong kind is reported and
/// counts as not there.
class DefinitionValues
{
public:
    /// @param prefix  stands before the keys in messages, such as "bounds."
    DefinitionValues(const toml::table& table, std::string prefix, Report& report)
        : m_table(table), m_prefix(std::move(prefix)), m_report(report)
    {
    }

    bool Has(std::string_view key) const { return m_table.contains(key); }
    bool IsInteger(std::string_view key) const { return m_table[key].is_integer(); }
    /// The line of a key's value, 0 when it is not there.
    int Line(std::string_view key) const;
    void Error(std::string_view key, const std::string& text);
    void Warn(std::string_view key, const std::string& text);
    void Mislead(std::string_view key, const std::string& text);

    std::optional<std::string> Text(std::string_view key);
    /// A text with its environment variables filled in.
    std::optional<std::string> TextOfEnvironment(std::string_view key);
    /// The same for a script, which has lines.
    std::optional<std::string> ScriptOfEnvironment(std::string_view key);
    /// A text, or an integer as its decimal text.
    std::optional<std::string> TextOrInteger(std::string_view key);
    std::optional<int> Integer(std::string_view key);
    std::optional<double> Number(std::string_view key);
    std::optional<bool> Flag(std::string_view key);
    const toml::table* Table(std::string_view key);
    /// A text, or a list of texts joined by blanks; its environment variables are filled in.
    std::optional<std::string> Words(std::string_view key);
    /// Header lines of a list of lines or of a table of names and values.
    std::vector<std::string> HeaderLines(std::string_view key);

private:
    const toml::node* Find(std::string_view key) const { return m_table.get(key); }
    void Mistyped(std::string_view key, const toml::node& node, std::string_view wanted);
    std::optional<std::string> Expanded(std::string_view key, const std::string& text);
    std::optional<std::string> Word(std::string_view key, const toml::node& node);
    void AddHeaderLine(std::string_view key,
                       const toml::node& node,
                       std::string_view name,
                       std::vector<std::string>& lines);
    void
    AddHeaderTable(std::string_view key, const toml::table& table, std::vector<std::string>& lines);

    const toml::table& m_table;
    std::string m_prefix;
    Report& m_report;
};

} // namespace KxC
