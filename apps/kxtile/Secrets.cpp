// SPDX-License-Identifier: MIT
#include "Secrets.h"

#include "AddressSecrets.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace KxTileHost {

namespace {

void ReplaceEach(std::string& text, const std::string& from, const std::string& to)
{
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

/// A definition's text, as far as definitions may be long; empty for what is no file.
std::string ReadDefinition(const std::string& path)
{
    constexpr std::size_t kMaxBytes = std::size_t{1} << 20;
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        // "file#name" chooses one of several sources in a file.
        const std::size_t mark = path.rfind('#');
        return mark == std::string::npos ? "" : ReadDefinition(path.substr(0, mark));
    }
    std::string text(kMaxBytes, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return text;
}

/// "word:" at the start, or a mark of YAML's own, as no line of TOML has it.
bool IsYamlLine(const std::string& line)
{
    const std::size_t end = line.find_first_of(":=\"'[ \t#");
    const bool key = end != std::string::npos && end > 0 && line[end] == ':' &&
                     (end + 1 == line.size() || line[end + 1] == ' ' || line[end + 1] == '\t');
    return key || line.compare(0, 3, "---") == 0 || line.compare(0, 5, "%YAML") == 0;
}

/// Only TOML has variables; in the forms of other programs "${" is a text or a placeholder. In
/// doubt it is TOML, so that no secret is shown.
bool HasVariables(const std::string& text)
{
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines >> std::ws, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line[0] != '#')
            return line[0] != '<' && line[0] != '{' && !IsYamlLine(line);
    }
    return false;
}

/// Null when it is not set.
const char* ValueOf(const std::string& name)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread changes this program's environment
    return std::getenv(name.c_str());
}

/// Letters and digits alone, so that it passes through URLs, headers and scripts as it is; for the
/// beginning of an address the beginning of one, so that nothing is missed there.
std::string StandInOf(std::size_t index, const std::string& value)
{
    const char* const scheme = value.find("://") != std::string::npos ? "http://" : "";
    return fmt::format("{}KxTileStandIn{}ForVariable", scheme, index);
}

} // namespace

std::vector<std::string> VariableNamesIn(const std::string& path)
{
    const std::string text = ReadDefinition(path);
    std::vector<std::string> names;
    if (!HasVariables(text))
        return names;
    for (std::size_t at = text.find("${"); at != std::string::npos; at = text.find("${", at + 2)) {
        const std::size_t close = text.find('}', at);
        if (close == std::string::npos)
            break;
        if (at > 0 && text[at - 1] == '$') // "$${" writes a plain "${"
            continue;
        const std::string name = text.substr(at + 2, close - at - 2);
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    return names;
}

Secrets::Secrets(const std::string& path)
{
    for (const std::string& name : VariableNamesIn(path)) {
        const char* value = ValueOf(name);
        if (value != nullptr && *value != '\0')
            Add(value, "${" + name + "}");
    }
    SortByLength();
}

Secrets Secrets::InAddress(const std::string& address)
{
    Secrets secrets{std::string()};
    secrets.m_valuesAndNames = SecretPiecesOf(address, "***");
    secrets.SortByLength();
    return secrets;
}

Secrets Secrets::OfAddress(const std::string& address, const std::string& shown)
{
    Secrets secrets = InAddress(address);
    secrets.m_valuesAndNames.emplace_back(address, shown);
    secrets.SortByLength();
    return secrets;
}

/// The longest first, so that no secret is torn by one that it contains.
void Secrets::SortByLength()
{
    std::sort(m_valuesAndNames.begin(), m_valuesAndNames.end(), [](const auto& a, const auto& b) {
        return a.first.size() > b.first.size();
    });
}

void Secrets::Add(const std::string& value, const std::string& name)
{
    std::vector<Replacement> hidden;
    if (IsAddress(value))
        hidden = SecretPiecesOf(value, name);
    else
        hidden.emplace_back(value, name);
    if (!hidden.empty())
        m_names.push_back(name);
    m_valuesAndNames.insert(m_valuesAndNames.end(), hidden.begin(), hidden.end());
}

std::string Secrets::Mask(std::string text) const
{
    for (const auto& [value, name] : m_valuesAndNames)
        ReplaceEach(text, value, name);
    return text;
}

StandInVariables::StandInVariables(const std::string& path) : m_names(VariableNamesIn(path))
{
    for (std::size_t i = 0; i < m_names.size(); ++i) {
        const char* value = ValueOf(m_names[i]);
        m_before.push_back({value != nullptr, value != nullptr ? value : ""});
        // NOLINTNEXTLINE(concurrency-mt-unsafe): this program has one thread
        ::setenv(m_names[i].c_str(), StandInOf(i, m_before[i].m_value).c_str(), 1);
    }
}

StandInVariables::~StandInVariables()
{
    for (std::size_t i = 0; i < m_names.size(); ++i) {
        if (m_before[i].m_set) // NOLINTNEXTLINE(concurrency-mt-unsafe): this program has one thread
            ::setenv(m_names[i].c_str(), m_before[i].m_value.c_str(), 1);
        else // NOLINTNEXTLINE(concurrency-mt-unsafe): this program has one thread
            ::unsetenv(m_names[i].c_str());
    }
}

std::string StandInVariables::NameAgain(std::string text) const
{
    for (std::size_t i = 0; i < m_names.size(); ++i)
        ReplaceEach(text, StandInOf(i, m_before[i].m_value), "${" + m_names[i] + "}");
    return text;
}

} // namespace KxTileHost
