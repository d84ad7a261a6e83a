// SPDX-License-Identifier: MIT
#include "TextRules.h"

#include <algorithm>

namespace KxC {

namespace {

bool IsControl(char byte)
{
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

bool IsHeaderNameByte(char byte)
{
    const bool alphanumeric = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                              (byte >= '0' && byte <= '9');
    return alphanumeric || std::string_view("!#$%&'*+-.^_`|~").find(byte) != std::string_view::npos;
}

unsigned ByteAt(std::string_view text, std::size_t at)
{
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
}

/// Bytes of the UTF-8 character at `at`, 0 when there is none (Unicode 15, table 3-7).
std::size_t CharacterLength(std::string_view text, std::size_t at)
{
    const unsigned first = ByteAt(text, at);
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    const unsigned second = ByteAt(text, at + 1);
    const unsigned least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    bool good = first >= 0xC2 && first <= 0xF4 && second >= least && second <= most;
    for (std::size_t i = 2; i < length; ++i)
        good = good && (ByteAt(text, at + i) & 0xC0U) == 0x80U;
    return good ? length : 0;
}

} // namespace

std::string Lower(std::string_view text)
{
    std::string lower(text);
    for (char& byte : lower)
        byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    return lower;
}

bool IsOneOf(std::string_view text, std::string_view words)
{
    return text.find(' ') == std::string_view::npos &&
           (" " + std::string(words) + " ").find(" " + Lower(text) + " ") != std::string::npos;
}

bool IsInteger(std::string_view text)
{
    const std::size_t sign = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    const std::string_view digits = text.substr(sign);
    return !digits.empty() && digits.size() <= 10 &&
           digits.find_first_not_of("0123456789") == std::string_view::npos;
}

bool EndsInLua(std::string_view text)
{
    return text.size() > 4 && Lower(text.substr(text.size() - 4)) == ".lua";
}

bool NamesVectorTiles(std::string_view url)
{
    const std::string path = Lower(url.substr(0, url.find_first_of("?#")));
    const std::string end = path.substr(path.size() - std::min<std::size_t>(path.size(), 4));
    return end == ".pbf" || end == ".mvt";
}

bool HasControl(std::string_view text)
{
    return std::any_of(text.begin(), text.end(), IsControl);
}

bool IsUtf8(std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t length = CharacterLength(text, at);
        if (length == 0)
            return false;
        at += length;
    }
    return true;
}

bool IsHeaderName(std::string_view name)
{
    return !name.empty() && std::all_of(name.begin(), name.end(), IsHeaderNameByte);
}

bool IsHeaderLine(std::string_view line)
{
    const std::size_t colon = line.find(':');
    return colon != std::string_view::npos && IsHeaderName(line.substr(0, colon)) &&
           std::none_of(
               line.begin(), line.end(), [](char byte) { return byte != '\t' && IsControl(byte); });
}

int LineAt(std::string_view text, std::size_t offset)
{
    const std::string_view before = text.substr(0, std::min(offset, text.size()));
    return 1 + static_cast<int>(std::count(before.begin(), before.end(), '\n'));
}

std::string_view WithoutByteOrderMark(std::string_view text)
{
    return text.substr(0, 3) == "\xEF\xBB\xBF" ? text.substr(3) : text;
}

} // namespace KxC
