// SPDX-License-Identifier: MIT
#include "serve/PathText.h"

namespace KxTileHost::Serve {

namespace {

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

bool ReadExtension(std::string_view& name, TileFormat& format)
{
    const std::size_t point = name.rfind('.');
    if (point == std::string_view::npos)
        return true;
    const std::string_view extension = name.substr(point + 1);
    if (extension == "png")
        format = TileFormat::Png;
    else if (extension == "jpg" || extension == "jpeg")
        format = TileFormat::Jpeg;
    else if (extension == "webp")
        format = TileFormat::WebP;
    else
        return false;
    name = name.substr(0, point);
    return true;
}

bool DecodePercent(std::string_view text, std::string& decoded, SlashRule rule)
{
    decoded.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        int byte = static_cast<unsigned char>(text[at]);
        if (text[at] == '%') {
            const int high = at + 2 < text.size() ? HexDigit(text[at + 1]) : -1;
            const int low = at + 2 < text.size() ? HexDigit(text[at + 2]) : -1;
            if (high < 0 || low < 0)
                return false;
            byte = high * 16 + low;
            at += 2;
            if (byte == '/' && rule == SlashRule::Refuse)
                return false;
        }
        if (byte < 0x20 || byte == 0x7f)
            return false;
        decoded += static_cast<char>(byte);
    }
    return true;
}

} // namespace KxTileHost::Serve
