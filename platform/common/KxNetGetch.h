// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxContainers.h"
#include "KxRawData.h"
#include "KxString.h"

namespace KxC {

/// How a download ended.
enum NetError : int {
    NetError_Success = 0, ///< data, possibly empty
    NetError_Failure = 6, ///< no answer, or one that is no tile
    NetError_NoData = 7,  ///< the server says that it has nothing at this address
};

/// What happened to a thread's last request.
struct KxNetRequestInfo
{
    KxString m_strUrl; ///< as asked for; empty when the thread sent none yet
    NetError m_result = NetError_Success;
    int m_nHttpStatus = 0;  ///< of the last attempt; 0 when no answer came
    int m_nHttpVersion = 0; ///< of that answer: 10, 11 or 20 for HTTP/1.0, 1.1 and 2
    /// Tries, also those of a thread that shared; 0 when refused. A request that goes out once more
    /// because a kept connection turned out to be closed is one try.
    int m_nAttempts = 0;
    unsigned long long m_nBytes = 0; ///< bytes of body received in the last attempt
    double m_dSeconds = 0.0;         ///< from the call to its end, all attempts
    KxString m_strContentType;       ///< of the answer, empty when there was none
    KxString m_strCause;             ///< why it failed, in words; empty on success
    /// No connection to the host, or none that may be trusted, came to stand in the last attempt.
    bool m_bUnreached = false;
};

/// HTTP requests. Connections are kept alive and reused by the thread that made them. Only http
/// and https are followed, at most 5 redirects and none from https to http, bodies up to 64 MiB,
/// TLS verified. HTTP/2 is spoken where a server offers it over TLS. Proxies are taken from
/// http_proxy, https_proxy, all_proxy and no_proxy, read with each request.
class KXCOMMON_API KxNetGetch
{
public:
    static constexpr int kDefaultTimeoutMs = 30000;
    static constexpr unsigned int kMaxBodyBytes = 64U << 20;
    static constexpr int kDefaultRequestsPerHost = 8;

    /// Sends one request and waits for its answer.
    /// @param data          receives the body on result 0; left empty on any other
    /// @param url           http or https
    /// @param body, referer kept for callers' sake, passed empty
    /// @param method        0: GET
    /// @param fileType      1: image
    /// @param requestParam  total time-out in milliseconds, 0 or less for kDefaultTimeoutMs
    /// @param userAgent     empty names this product and its version
    /// @param requestLines  further header lines ("Name: value"); may be null. A redirect to
    /// another
    ///                      host or port is followed without them, for they may hold a key; only
    ///                      a User-Agent goes along
    /// Statuses 429, 502, 503 and 504, resets and time-outs are tried up to twice more, after
    /// growing pauses or the Retry-After that the server asks for, up to 10 s of it. The total
    /// time-out covers all of it. Threads that ask for the same at once share one request.
    /// Any thread.
    static NetError RequestData(KxRawData& data,
                                const KxString& url,
                                const KxString& body,
                                const KxString& referer,
                                int method,
                                int fileType,
                                int requestParam,
                                const KxString& userAgent,
                                const KxArray<KxString>* requestLines);

    /// How many requests at a time go to one host, for the whole process; others wait their turn.
    /// @param limit  1 or more, kDefaultRequestsPerHost at first
    static void SetMaxRequestsPerHost(int limit);

    /// Whose certificates are trusted, for the whole process, from the next request on.
    /// @param path  a PEM file, UTF-8, used instead of the system's certificates; empty takes the
    ///              setting back. Without one, the first of the environment's KXTILE_CA_FILE,
    ///              CURL_CA_BUNDLE and SSL_CERT_FILE that is set and not empty names the file,
    ///              and without any the system's certificates hold. A file that cannot be read
    ///              fails https requests; nothing else takes its place.
    /// @return false when memory ran out; what was set before still holds
    static bool SetCaFile(const KxString& path);

    /// The calling thread's last request; valid until its next one.
    static const KxNetRequestInfo& GetLastRequestInfo();
    /// Forgets it, so that a host can tell whether an operation sent any request.
    static void ClearLastRequestInfo();
    /// Notes what happened to a request that another thread sent for the calling one as well.
    static void SetLastRequestInfo(const KxNetRequestInfo& info);
};

} // namespace KxC
