// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace KxTileHost {

/// The environment variables that a definition file names as ${NAME}, each once; none for a file
/// that cannot be read. Only definitions in TOML have variables, and "$${" in them writes a plain
/// "${".
std::vector<std::string> VariableNamesIn(const std::string& path);

/// Keeps the secrets of a definition file off the screen: what its ${NAME} stand for is written
/// as ${NAME} again. Of values that are whole addresses ("http://...") only the user, the password
/// and the query's values are secret.
class Secrets
{
public:
    /// @param path  a definition file; one that cannot be read has no secrets
    explicit Secrets(const std::string& path);
    /// Those of an address that is itself named as the source.
    /// @param shown  what stands for the whole address; "***" stands for pieces of it
    static Secrets OfAddress(const std::string& address, const std::string& shown);

    /// Those in an address of which the rest may be shown; "***" stands for them.
    static Secrets InAddress(const std::string& address);

    std::string Mask(std::string text) const;
    /// The names of the variables whose values are secret.
    std::vector<std::string> Names() const { return m_names; }

private:
    void Add(const std::string& value, const std::string& name);
    void SortByLength();

    std::vector<std::string> m_names;
    std::vector<std::pair<std::string, std::string>> m_valuesAndNames;
};

/// Stands in for the variables of a definition: while it lives, each of them holds a text of its
/// own, so that the definition loads whether they are set or not, and what they would have been
/// put into can be told. For programs with one thread.
class StandInVariables
{
public:
    explicit StandInVariables(const std::string& path);
    ~StandInVariables();
    StandInVariables(const StandInVariables&) = delete;
    StandInVariables& operator=(const StandInVariables&) = delete;

    const std::vector<std::string>& Names() const { return m_names; }
    /// The text with ${NAME} wherever a variable's text went.
    std::string NameAgain(std::string text) const;

private:
    struct Before
    {
        bool m_set;
        std::string m_value;
    };
    std::vector<std::string> m_names;
    std::vector<Before> m_before;
};

} // namespace KxTileHost
