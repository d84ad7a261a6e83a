// SPDX-License-Identifier: MIT
#pragma once

#include "HttpClient.h"

namespace KxC::Http {

/// One request by libcurl over the calling thread's kept connections, redirects followed.
/// Any thread.
class CurlTransfer final : public HttpClient
{
public:
    explicit CurlTransfer(const Clock& clock) : m_clock(clock) {}
    HttpAnswer Send(const HttpRequest& request) override;

private:
    const Clock& m_clock;
};

} // namespace KxC::Http
