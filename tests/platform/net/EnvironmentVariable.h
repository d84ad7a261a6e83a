// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace KxC::Testing {

/// Sets a variable of the environment, or removes it, and restores it in the end. Only for tests
/// that have no other threads when they make one.
class EnvironmentVariable
{
public:
    EnvironmentVariable(std::string name, const std::optional<std::string>& value)
        : m_name(std::move(name))
    {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): no other threads yet
        if (const char* before = std::getenv(m_name.c_str()))
            m_before = before;
        Set(value);
    }
    ~EnvironmentVariable() { Set(m_before); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    void Set(const std::optional<std::string>& value)
    {
        if (value)
            ::setenv(m_name.c_str(), value->c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        else
            ::unsetenv(m_name.c_str()); // NOLINT(concurrency-mt-unsafe)
    }

    std::string m_name;
    std::optional<std::string> m_before;
};

} // namespace KxC::Testing
