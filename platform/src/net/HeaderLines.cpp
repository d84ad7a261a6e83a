// SPDX-License-Identifier: MIT
#include "HeaderLines.h"

#include <strings.h>

#include <algorithm>
#include <cctype>

namespace KxC::Http {

namespace {

/// RFC 9110, 5.6.2: the characters of a header's name.
bool IsTokenCharacter(char c)
{
    constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
    const bool isAlphanumeric =
        (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    return isAlphanumeric || kMarks.find(c) != std::string_view::npos;
}

bool IsToken(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), IsTokenCharacter);
}

} // namespace

bool IsOneLine(std::string_view text)
{
    return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

std::string HeaderLineFault(std::string_view line)
{
    if (!IsOneLine(line))
        return "a request header line holds a line end or a NUL byte; remove it";
    const std::string_view name = line.substr(0, line.find(':'));
    if (name.size() == line.size() || !IsToken(name))
        return "a request header line is not of the form 'Name: value'";
    if (IsHeader(line, "Content-Length") || IsHeader(line, "Transfer-Encoding"))
        return "request header '" + std::string(name) + "' is not for definitions; remove it";
    return {};
}

bool IsHeader(std::string_view line, std::string_view name)
{
    return line.size() > name.size() && line[name.size()] == ':' &&
           ::strncasecmp(line.data(), name.data(), name.size()) == 0;
}

} // namespace KxC::Http
