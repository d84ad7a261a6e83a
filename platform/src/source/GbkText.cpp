// SPDX-License-Identifier: MIT
#include "KxUtility.h"

#include <iconv.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace KxC {

namespace {

class GbkConverter
{
public:
    GbkConverter() : m_handle(::iconv_open("GBK", "UTF-8")) {}
    ~GbkConverter()
    {
        if (IsOpen())
            ::iconv_close(m_handle);
    }
    GbkConverter(const GbkConverter&) = delete;
    GbkConverter& operator=(const GbkConverter&) = delete;

    /// Appends one character's GBK bytes, '?' when it has none or the system lacks the table.
    void Append(std::string_view character, std::string& gbk)
    {
        char input[4];
        char output[4];
        char* from = std::copy(character.begin(), character.end(), input) - character.size();
        char* to = output;
        std::size_t left = character.size();
        std::size_t room = sizeof output;
        if (IsOpen() && ::iconv(m_handle, &from, &left, &to, &room) == 0)
            gbk.append(output, to);
        else
            gbk += '?';
    }

private:
    bool IsOpen() const
    {
        // iconv_open reports failure as a handle of all ones.
        return reinterpret_cast<std::intptr_t>(m_handle) != -1;
    }

    iconv_t m_handle;
};

std::size_t AnnouncedLength(unsigned char lead)
{
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    return lead >= 0xF0 && lead <= 0xF4 ? 4 : 1;
}

/// Bytes of the character in front: as many as its first byte announces and are there.
std::size_t CharacterLength(std::string_view text)
{
    const std::size_t announced =
        std::min(AnnouncedLength(static_cast<unsigned char>(text[0])), text.size());
    std::size_t length = 1;
    while (length < announced && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U)
        ++length;
    return length;
}

std::string Utf8ToGbk(std::string_view utf8)
{
    GbkConverter converter;
    std::string gbk;
    while (!utf8.empty()) {
        const std::size_t length = CharacterLength(utf8);
        if (static_cast<unsigned char>(utf8[0]) < 0x80)
            gbk += utf8[0];
        else
            converter.Append(utf8.substr(0, length), gbk);
        utf8.remove_prefix(length);
    }
    return gbk;
}

} // namespace

KxString KxUtility::ToGBK(const KxString& utf8)
{
    const std::string_view bytes(utf8.Cstr(), static_cast<std::size_t>(utf8.GetLength()));
    const bool ascii =
        std::all_of(bytes.begin(), bytes.end(), [](char byte) { return (byte & 0x80) == 0; });
    if (ascii)
        return utf8;
    const std::string gbk = Utf8ToGbk(bytes);
    return {gbk.data(), static_cast<int>(gbk.size())};
}

} // namespace KxC
