// SPDX-License-Identifier: MIT
#include "CurlHandle.h"

#include <memory>

namespace KxC::Http {

namespace {

struct CloseHandle
{
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using Handle = std::unique_ptr<CURL, CloseHandle>;

/// Once in the process, by whichever thread comes first. Never undone: other threads, and other
/// users of the library in the host, may still need it.
bool StartLibrary()
{
    static const bool isStarted = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return isStarted;
}

template <class Value>
bool Set(CURL* handle, CURLoption option, Value value)
{
    return curl_easy_setopt(handle, option, value) == CURLE_OK;
}

/// What keeps a request inside its borders.
bool SetBorders(CURL* handle)
{
    return Set(handle, CURLOPT_PROTOCOLS_STR, "http,https") &&
           Set(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https") &&
           Set(handle, CURLOPT_FOLLOWLOCATION, 1L) &&
           Set(handle, CURLOPT_MAXREDIRS, kMaxRedirects) &&
           Set(handle, CURLOPT_SSL_VERIFYPEER, 1L) && Set(handle, CURLOPT_SSL_VERIFYHOST, 2L) &&
           Set(handle, CURLOPT_LOW_SPEED_LIMIT, kMinBytesPerSecond);
}

/// How connections are made and kept.
bool SetConnections(CURL* handle)
{
    // A signal would hit the whole process: the host owns those.
    return Set(handle, CURLOPT_NOSIGNAL, 1L) && Set(handle, CURLOPT_TCP_NODELAY, 1L) &&
           Set(handle, CURLOPT_TCP_KEEPALIVE, 1L) &&
           Set(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS)) &&
           // Services spread tiles over a handful of host names, each worth its connection.
           Set(handle, CURLOPT_MAXCONNECTS, 16L) &&
           // A usual tile in one read.
           Set(handle, CURLOPT_BUFFERSIZE, 65536L);
}

Handle MakeHandle()
{
    if (!StartLibrary())
        return nullptr;
    Handle handle(curl_easy_init());
    if (handle == nullptr || !SetBorders(handle.get()) || !SetConnections(handle.get()))
        return nullptr;
    return handle;
}

} // namespace

CURL* ThreadCurlHandle()
{
    thread_local Handle handle;
    if (handle == nullptr)
        handle = MakeHandle();
    return handle.get();
}

} // namespace KxC::Http
