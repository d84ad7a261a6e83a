// SPDX-License-Identifier: MIT
#pragma once

#include <curl/curl.h>

#include <string>

namespace KxC::Http {

constexpr long kMaxRedirects = 5;
constexpr long kConnectTimeoutMs = 10000;
/// The floor on speed: an answer slower than this for a while is broken off.
constexpr long kMinBytesPerSecond = 100;

/// The calling thread's client with everything that all requests share already set. It keeps its
/// connections until the thread ends or asks for other certificates.
/// @param caFile  whose certificates are trusted; empty for the system's
/// @return null when the client library cannot be started
CURL* ThreadCurlHandle(const std::string& caFile);

} // namespace KxC::Http
