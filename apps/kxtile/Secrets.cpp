// SPDX-License-Identifier: MIT
#include "Secrets.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
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

/// Null when it is not set.
const char* ValueOf(const std::string& name)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread changes this program's environment
    return std::getenv(name.c_str());
}

/// Letters and digits alone, so that it passes through URLs, headers and scripts as it is.
std::string StandInOf(std::size_t index)
{
    return fmt::format("KxTileStandIn{}ForVariable", index);
}

} // namespace

std::vector<std::string> VariableNamesIn(const std::string& path)
{
    const std::string text = ReadDefinition(path);
    std::vector<std::string> names;
    for (std::size_t at = text.find("${"); at != std::string::npos; at = text.find("${", at + 2)) {
        const std::size_t close = text.find('}', at);
        if (close == std::string::npos)
            break;
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
        const bool address = value != nullptr && std::strstr(value, "://") != nullptr;
        if (value != nullptr && *value != '\0' && !address)
            m_valuesAndNames.emplace_back(value, "${" + name + "}");
    }
    // The longest first, so that no secret is torn by one that it contains.
    std::sort(m_valuesAndNames.begin(), m_valuesAndNames.end(), [](const auto& a, const auto& b) {
        return a.first.size() > b.first.size();
    });
}

std::string Secrets::Mask(std::string text) const
{
    for (const auto& [value, name] : m_valuesAndNames)
        ReplaceEach(text, value, name);
    return text;
}

std::vector<std::string> Secrets::Names() const
{
    std::vector<std::string> names;
    for (const auto& valueAndName : m_valuesAndNames)
        names.push_back(valueAndName.second);
    return names;
}

StandInVariables::StandInVariables(const std::string& path) : m_names(VariableNamesIn(path))
{
    for (std::size_t i = 0; i < m_names.size(); ++i) {
        const char* value = ValueOf(m_names[i]);
        m_before.push_back({value != nullptr, value != nullptr ? value : ""});
        // NOLINTNEXTLINE(concurrency-mt-unsafe): this program has one thread
        ::setenv(m_names[i].c_str(), StandInOf(i).c_str(), 1);
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
        ReplaceEach(text, StandInOf(i), "${" + m_names[i] + "}");
    return text;
}

} // namespace KxTileHost
