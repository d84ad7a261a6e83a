// SPDX-License-Identifier: MIT
#include "Environment.h"

#include "Report.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace KxC {

namespace {

/// A short text naming a large variable many times would otherwise grow past all memory.
constexpr std::size_t kMaxExpanded = std::size_t{1} << 20;

bool IsNameByte(char byte)
{
    return byte == '_' || (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z');
}

bool IsName(std::string_view name)
{
    const bool startsWell = !name.empty() && !(name[0] >= '0' && name[0] <= '9');
    return startsWell && std::all_of(name.begin(), name.end(), IsNameByte);
}

/// The names of variables that are not set.
class UnsetNames
{
public:
    void Add(const std::string& name)
    {
        const bool known = std::find(m_names.begin(), m_names.end(), name) != m_names.end();
        if (!known && m_names.size() < kMaxNames)
            m_names.push_back(name);
    }

    bool IsEmpty() const { return m_names.empty(); }

    std::string Verdict() const
    {
        if (m_names.size() == 1)
            return "needs the environment variable " + m_names[0] +
                   ", which is not set; set it before the program starts";
        std::string list;
        for (const std::string& name : m_names)
            list += (list.empty() ? "" : ", ") + name;
        return "needs the environment variables " + list +
               ", which are not set; set them before the program starts";
    }

private:
    static constexpr std::size_t kMaxNames = 16;

    std::vector<std::string> m_names;
};

class Expander
{
public:
    explicit Expander(std::string_view text) : m_text(text) {}

    std::optional<std::string> Expand(ExpansionProblem& problem)
    {
        while (m_at < m_text.size() && m_problem.empty())
            ExpandNext();
        if (m_problem.empty() && !m_unset.IsEmpty())
            problem = {m_unset.Verdict(), true};
        else
            problem = {m_problem, false};
        return problem.text.empty() ? std::optional(std::move(m_result)) : std::nullopt;
    }

private:
    void ExpandNext()
    {
        if (m_text.substr(m_at, 3) == "$${") {
            m_result += "${";
            m_at += 3;
        } else if (m_text.substr(m_at, 2) != "${") {
            m_result += m_text[m_at++];
        } else {
            ExpandVariable();
        }
        if (m_result.size() > kMaxExpanded)
            m_problem = "is longer than 1 MiB once its environment variables are filled in";
    }

    /// Appends the variable that the "${" here names and moves on behind it.
    void ExpandVariable()
    {
        const std::size_t close = m_text.find('}', m_at);
        const std::string name(
            close == std::string_view::npos ? "" : m_text.substr(m_at + 2, close - m_at - 2));
        if (!IsName(name)) {
            m_problem = "holds \"${\" without a variable's name and \"}\" after it; write ${NAME}, "
                        "or $${ for a plain ${";
            return;
        }
        // NOLINTNEXTLINE(concurrency-mt-unsafe): hosts that change their environment do so at start
        if (const char* value = std::getenv(name.c_str()))
            m_result += value;
        else
            m_unset.Add(Printable(name));
        m_at = close + 1;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    std::string m_result;
    std::string m_problem;
    UnsetNames m_unset;
};

} // namespace

std::optional<std::string> ExpandVariables(std::string_view text, ExpansionProblem& problem)
{
    return Expander(text).Expand(problem);
}

} // namespace KxC
