// SPDX-License-Identifier: MIT
#include "HttpClient.h"

#include <algorithm>
#include <new>

namespace KxC::Http {

HttpAnswer HttpAnswer::Copy() const
{
    HttpAnswer copy;
    copy.status = status;
    copy.httpVersion = httpVersion;
    copy.complete = complete;
    copy.transient = transient;
    copy.unreached = unreached;
    copy.bytesReceived = bytesReceived;
    copy.contentType = contentType;
    copy.cause = cause;
    copy.retryAfter = retryAfter;
    copy.attempts = attempts;
    if (!copy.body.Reserve(body.Size()) || !copy.body.Append(body.Data(), body.Size()))
        throw std::bad_alloc();
    return copy;
}

std::string HostOf(std::string_view url)
{
    const std::size_t scheme = url.find("://");
    if (scheme != std::string_view::npos)
        url.remove_prefix(scheme + 3);
    url = url.substr(0, url.find_first_of("/?#\\"));
    const std::size_t user = url.rfind('@');
    if (user != std::string_view::npos)
        url.remove_prefix(user + 1);
    std::string host(url);
    std::transform(host.begin(), host.end(), host.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return host;
}

} // namespace KxC::Http
