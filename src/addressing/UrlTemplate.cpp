// SPDX-License-Identifier: MIT
#include "UrlTemplate.h"

#include <charconv>
#include <string>
#include <string_view>

namespace KxC {

namespace {

void AppendArgument(std::string& url, const UrlArgument& argument)
{
    if (const KxString* text = argument.GetText()) {
        url.append(text->Cstr(), static_cast<std::size_t>(text->GetLength()));
        return;
    }
    char digits[12];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), argument.GetNumber()).ptr;
    url.append(digits, static_cast<std::size_t>(end - digits));
}

} // namespace

KxString FillUrlTemplate(const KxString& urlTemplate, std::initializer_list<UrlArgument> arguments)
{
    const std::string_view text(urlTemplate.Cstr(),
                                static_cast<std::size_t>(urlTemplate.GetLength()));
    std::string url;
    url.reserve(text.size() + 32);
    const UrlArgument* next = arguments.begin();
    std::size_t from = 0;
    for (std::size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', from)) {
        const char conversion = at + 1 < text.size() ? text[at + 1] : '\0';
        const bool fills = (conversion == 's' || conversion == 'd') && next != arguments.end();
        url.append(text, from, at - from);
        if (fills)
            AppendArgument(url, *next++);
        else
            url += '%';
        from = at + (fills || conversion == '%' ? 2 : 1);
    }
    url.append(text, from);
    return {url.data(), static_cast<int>(url.size())};
}

} // namespace KxC
