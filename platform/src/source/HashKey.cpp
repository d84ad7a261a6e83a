// SPDX-License-Identifier: MIT
#include "HashKey.h"

#include "KxUtility.h"

#include <xxhash.h>

namespace KxC {

namespace {

constexpr std::size_t kMaxHostBytes = 48;

/// The text without "{...}" groups and printf-style conversions: what stands for something else
/// says nothing about the host.
std::string WithoutPlaceholders(std::string_view text)
{
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t close = text[at] == '{' ? text.find('}', at) : std::string_view::npos;
        const std::string_view two = text.substr(at, 2);
        if (close != std::string_view::npos)
            at = close;
        else if (two == "%s" || two == "%d")
            ++at;
        else
            result += text[at];
    }
    return result;
}

/// "user:password@host:port" of a URL, empty when the text is none.
std::string_view Authority(std::string_view url)
{
    const std::size_t scheme = url.find("://");
    if (scheme == std::string_view::npos || url.find_first_of("/?#") < scheme)
        return {};
    const std::string_view rest = url.substr(scheme + 3);
    return rest.substr(0, rest.find_first_of("/?#\\"));
}

std::string_view WithoutUserAndPort(std::string_view authority)
{
    const std::size_t user = authority.rfind('@');
    if (user != std::string_view::npos)
        authority.remove_prefix(user + 1);
    const bool numeric6 = !authority.empty() && authority.front() == '[';
    return authority.substr(0, authority.find(numeric6 ? ']' : ':'));
}

char LowerHostByte(char byte)
{
    if (byte >= 'A' && byte <= 'Z')
        return static_cast<char>(byte - 'A' + 'a');
    const bool fits =
        (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte == '.' || byte == '-';
    return fits ? byte : '\0';
}

/// Dots in front would hide a folder; dots and dashes left over from placeholders only disturb.
std::string Trimmed(const std::string& host)
{
    const std::size_t first = host.find_first_not_of(".-");
    if (first == std::string::npos)
        return {};
    return host.substr(first, host.find_last_not_of(".-") - first + 1);
}

} // namespace

std::string HashDigits(std::string_view text)
{
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits(text.data(), text.size()));
    std::string digits;
    for (const unsigned char byte : canonical.digest) {
        digits += "0123456789abcdef"[byte >> 4U];
        digits += "0123456789abcdef"[byte & 15U];
    }
    return digits;
}

std::string ReadableHost(std::string_view url)
{
    const std::string authority = WithoutPlaceholders(Authority(url));
    std::string host;
    for (const char byte : WithoutUserAndPort(authority)) {
        if (LowerHostByte(byte) != '\0')
            host += LowerHostByte(byte);
    }
    return Trimmed(Trimmed(host).substr(0, kMaxHostBytes));
}

KxString KxUtility::GetValidHashKey(const KxString& text)
{
    const std::string_view bytes(text.Cstr(), static_cast<std::size_t>(text.GetLength()));
    const std::string host = ReadableHost(bytes);
    return ((host.empty() ? "" : host + "-") + HashDigits(bytes)).c_str();
}

} // namespace KxC
