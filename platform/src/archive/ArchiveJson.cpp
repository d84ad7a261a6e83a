// SPDX-License-Identifier: MIT
#include "ArchiveJson.h"

#include "TileArchive.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <string_view>

namespace KxC {

namespace {

bool Continues(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// Bytes of the character that `text` begins with; 0 when it begins with none.
std::size_t CharacterLength(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text.front());
    const auto second = text.size() > 1 ? static_cast<unsigned char>(text[1]) : 0U;
    if (first < 0x80U)
        return 1;
    const std::size_t length = first >= 0xC2U && first <= 0xDFU   ? 2
                               : (first & 0xF0U) == 0xE0U         ? 3
                               : first >= 0xF0U && first <= 0xF4U ? 4
                                                                  : 0;
    if (length == 0 || text.size() < length ||
        !std::all_of(
            text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length), Continues))
        return 0;
    // Longer than need be, halves of pairs, and beyond the last character.
    const bool wrong = (first == 0xE0U && second < 0xA0U) || (first == 0xEDU && second > 0x9FU) ||
                       (first == 0xF0U && second < 0x90U) || (first == 0xF4U && second > 0x8FU);
    return wrong ? 0 : length;
}

std::string Escaped(char byte)
{
    if (byte == '"' || byte == '\\')
        return {'\\', byte};
    if (static_cast<unsigned char>(byte) >= 0x20)
        return {byte};
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned int>(byte));
    return text.data();
}

std::string Quoted(std::string_view text)
{
    std::string quoted = "\"";
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        if (length == 1)
            quoted += Escaped(text.front());
        else
            quoted += length == 0 ? std::string_view("?") : text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return quoted + '"';
}

std::string Member(const char* name, const KxString& value)
{
    return std::string(",\"") + name +
           "\":" + Quoted({value.Cstr(), static_cast<std::size_t>(value.GetLength())});
}

/// Of four hexadecimal digits; '?' for a control character and for what is none alone.
std::string CharacterOf(std::string_view digits)
{
    unsigned int code = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
    if (read.ptr != digits.data() + 4 || code < 0x20 || (code & 0xF800U) == 0xD800U)
        return "?";
    const auto continued = [code](unsigned int shift) {
        return static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
    };
    if (code < 0x80)
        return {static_cast<char>(code)};
    if (code < 0x800)
        return {static_cast<char>(0xC0U | (code >> 6U)), continued(0)};
    return {static_cast<char>(0xE0U | (code >> 12U)), continued(6), continued(0)};
}

} // namespace

std::string MetadataJson(const KxTileArchiveMetadata& metadata)
{
    std::string json = "{\"type\":\"baselayer\",\"version\":\"1\"";
    json += Member("name", metadata.m_strName);
    json += Member("description", metadata.m_strDescription);
    if (metadata.m_strAttribution.IsEmpty() == 0)
        json += Member("attribution", metadata.m_strAttribution);
    if (metadata.m_strOrigin.IsEmpty() == 0)
        json += Member(kOriginKey, metadata.m_strOrigin);
    return json + "}";
}

std::string OriginAsKept(std::string_view origin)
{
    std::string kept;
    while (!origin.empty()) {
        const std::size_t length = CharacterLength(origin);
        const bool isControl = static_cast<unsigned char>(origin.front()) < 0x20;
        kept += length == 0 || isControl ? std::string_view("?") : origin.substr(0, length);
        origin.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return kept;
}

/// What this writes is read again, not any JSON: in a text of somebody's the quotation marks that
/// are looked for are escaped.
std::string OriginIn(std::string_view json)
{
    const std::string begin = std::string(",\"") + kOriginKey + "\":\"";
    const std::size_t found = json.find(begin);
    if (found == std::string_view::npos)
        return {};
    std::string origin;
    std::string_view left = json.substr(found + begin.size());
    while (!left.empty() && left.front() != '"') {
        const bool isEscape = left.front() == '\\';
        left.remove_prefix(isEscape ? 1 : 0);
        if (left.empty())
            return {};
        if (isEscape && left.front() == 'u') {
            origin += CharacterOf(left.substr(1, 4));
            left.remove_prefix(std::min<std::size_t>(left.size(), 5));
        } else {
            origin += left.front();
            left.remove_prefix(1);
        }
    }
    return origin;
}

} // namespace KxC
