// SPDX-License-Identifier: MIT
#include "TomlSkimmer.h"

#include <string>

namespace KxC {

namespace {

constexpr int kMaxDots = 8;

/// Steps over the parts of a TOML text that may hold dots without being keys.
class TomlSkimmer
{
public:
    explicit TomlSkimmer(std::string_view text) : m_text(text) {}

    int FindTooDeepKey()
    {
        int dots = 0;
        while (m_at < m_text.size()) {
            const char byte = m_text[m_at];
            if (byte == '#')
                SkipComment();
            else if (byte == '"' || byte == '\'')
                SkipString(byte);
            else
                dots = Count(byte, dots);
            if (dots > kMaxDots)
                return m_line;
        }
        return 0;
    }

private:
    int Count(char byte, int dots)
    {
        ++m_at;
        m_line += byte == '\n' ? 1 : 0;
        const bool ends = byte == '\n' || byte == '=' || byte == ',' || byte == '{';
        return ends ? 0 : dots + (byte == '.' ? 1 : 0);
    }

    void SkipComment()
    {
        while (m_at < m_text.size() && m_text[m_at] != '\n')
            ++m_at;
    }

    void SkipString(char quote)
    {
        const std::string three(3, quote);
        const bool multiLine = m_text.substr(m_at, 3) == three;
        m_at += multiLine ? 3 : 1;
        while (m_at < m_text.size() && !AtEnd(quote, multiLine, three))
            Advance(quote);
        StepOverEnd(quote, multiLine);
    }

    /// A multi-line string may end in one or two quotes of its own before the closing three.
    void StepOverEnd(char quote, bool multiLine)
    {
        const std::size_t last = m_at + (multiLine ? 5 : 1);
        while (m_at < m_text.size() && m_at < last && m_text[m_at] == quote)
            ++m_at;
    }

    bool AtEnd(char quote, bool multiLine, const std::string& three) const
    {
        if (multiLine)
            return m_text.substr(m_at, 3) == three;
        return m_text[m_at] == quote || m_text[m_at] == '\n';
    }

    void Advance(char quote)
    {
        if (quote == '"' && m_text[m_at] == '\\')
            ++m_at;
        if (m_at < m_text.size() && m_text[m_at] == '\n')
            ++m_line;
        ++m_at;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    int m_line = 1;
};

} // namespace

int FindTooDeepKey(std::string_view toml)
{
    return TomlSkimmer(toml).FindTooDeepKey();
}

} // namespace KxC
