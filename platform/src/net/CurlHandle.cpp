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
           // CurlTransfer follows: the library would take a request's own lines along anywhere.
           Set(handle, CURLOPT_FOLLOWLOCATION, 0L) &&
           // A proxy's answer to CONNECT is not the server's.
           Set(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L) &&
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

/// Trusts this file's certificates and no others, those of a proxy's TLS too.
bool SetTrust(CURL* handle, const std::string& caFile)
{
    return Set(handle, CURLOPT_CAINFO, caFile.c_str()) &&
           Set(handle, CURLOPT_PROXY_CAINFO, caFile.c_str()) &&
           Set<char*>(handle, CURLOPT_CAPATH, nullptr) &&
           Set<char*>(handle, CURLOPT_PROXY_CAPATH, nullptr);
}

Handle MakeHandle(const std::string& caFile)
{
    if (!StartLibrary())
        return nullptr;
    Handle handle(curl_easy_init());
    if (handle == nullptr || !SetBorders(handle.get()) || !SetConnections(handle.get()))
        return nullptr;
    if (!caFile.empty() && !SetTrust(handle.get(), caFile))
        return nullptr;
    return handle;
}

} // namespace

CURL* ThreadCurlHandle(const std::string& caFile)
{
    thread_local Handle handle;
    thread_local std::string trusted;
    if (handle == nullptr || trusted != caFile) {
        // A connection that was made under other trust must not serve this request.
        handle.reset();
        trusted = caFile;
        handle = MakeHandle(caFile);
    }
    return handle.get();
}

} // namespace KxC::Http
