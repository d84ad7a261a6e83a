// SPDX-License-Identifier: MIT
#pragma once

#include "HttpClient.h"
#include "KxNetGetch.h"

#include <string>

namespace KxC::Http {

/// What an HTTP status says about a tile. The one place that knows.
NetError ResultOfStatus(int status);

/// Whether the same request may fare better a moment later.
bool IsTransientStatus(int status);

/// How the request ended.
NetError ResultOf(const HttpAnswer& answer);

/// Why it ended so, in words; empty on success.
std::string CauseOf(const HttpAnswer& answer);

} // namespace KxC::Http
