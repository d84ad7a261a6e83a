// SPDX-License-Identifier: MIT
#include "KxNetGetch.h"

#include "AnswerReceiver.h"
#include "CurlTransfer.h"
#include "HeaderLines.h"
#include "HostLimitClient.h"
#include "HttpClient.h"
#include "RetryingClient.h"
#include "SharingClient.h"
#include "StatusTable.h"

#include <strings.h>

#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace KxC {

namespace {

using namespace Http;

static_assert(KxNetGetch::kMaxBodyBytes == AnswerReceiver::kMaxBodyBytes);

constexpr const char* kOwnAgent = "KxTile/" KXTILE_VERSION;

/// The layers of a request, outermost last. One set serves all threads.
struct Layers
{
    SystemClock clock;
    CurlTransfer transfer{clock};
    /// Within the retries, so that nobody holds a place while he pauses.
    HostLimitClient limited{transfer, KxNetGetch::kDefaultRequestsPerHost};
    RetryingClient retrying{limited, clock};
    SharingClient outermost{retrying};
};

/// Never destroyed: a thread may still be fetching while the process ends.
Layers& SharedLayers()
{
    static Layers* const layers = new Layers;
    return *layers;
}

KxNetRequestInfo& ThreadInfo()
{
    thread_local KxNetRequestInfo info;
    return info;
}

std::string_view View(const KxString& text)
{
    return {text.Cstr(), static_cast<std::size_t>(text.GetLength())};
}

KxString ToKxString(const std::string& text)
{
    return {text.data(), static_cast<int>(text.size())};
}

bool HasScheme(std::string_view url, std::string_view scheme)
{
    return url.size() > scheme.size() &&
           ::strncasecmp(url.data(), scheme.data(), scheme.size()) == 0;
}

std::string UrlFault(std::string_view url)
{
    if (url.empty())
        return "the address is empty";
    if (!HasScheme(url, "http://") && !HasScheme(url, "https://"))
        return "the address begins with neither http:// nor https://";
    return IsOneLine(url) ? "" : "the address holds a line end or a NUL byte";
}

/// Adds a line to the request. An agent given by the caller outranks one among the lines.
/// @return what is wrong with the line, empty when nothing is
std::string AddLine(HttpRequest& request, std::string_view line, bool hasAgent)
{
    if (line.empty())
        return {};
    std::string fault = HeaderLineFault(line);
    const bool isAgent = IsHeader(line, "User-Agent");
    if (!fault.empty() || (isAgent && hasAgent))
        return fault;
    if (isAgent)
        request.userAgent.clear();
    request.headerLines.emplace_back(line);
    return {};
}

std::string AddLines(HttpRequest& request, const KxArray<KxString>* lines, bool hasAgent)
{
    if (lines == nullptr)
        return {};
    for (const KxString& line : *lines) {
        std::string fault = AddLine(request, View(line), hasAgent);
        if (!fault.empty())
            return fault;
    }
    return {};
}

/// What the caller asks for, before it is known to be sound.
struct Wish
{
    const KxString& url;
    const KxString& referer;
    int method;
    int timeoutMs;
    const KxString& userAgent;
    const KxArray<KxString>* lines;
};

/// @return what is wrong with the wish, empty when `request` can be sent
std::string MakeRequest(HttpRequest& request, const Wish& wish, TimePoint now)
{
    if (wish.method != 0)
        return "only GET requests are sent";
    std::string fault = UrlFault(View(wish.url));
    if (!fault.empty())
        return fault;
    const bool hasAgent = wish.userAgent.IsEmpty() == 0;
    request.url = View(wish.url);
    request.userAgent = hasAgent ? View(wish.userAgent) : kOwnAgent;
    if (!IsOneLine(request.userAgent))
        return "the user agent holds a line end or a NUL byte";
    request.timeout =
        Milliseconds(wish.timeoutMs > 0 ? wish.timeoutMs : KxNetGetch::kDefaultTimeoutMs);
    request.deadline = now + request.timeout;
    if (wish.referer.IsEmpty() == 0)
        fault = AddLine(request, "Referer: " + std::string(View(wish.referer)), hasAgent);
    return fault.empty() ? AddLines(request, wish.lines, hasAgent) : fault;
}

HttpAnswer Send(const Wish& wish, TimePoint now)
{
    HttpRequest request;
    HttpAnswer answer;
    answer.cause = MakeRequest(request, wish, now);
    return answer.cause.empty() ? SharedLayers().outermost.Send(request) : std::move(answer);
}

void Describe(KxNetRequestInfo& info, const HttpAnswer& answer)
{
    info.m_result = ResultOf(answer);
    info.m_nHttpStatus = answer.status;
    info.m_nHttpVersion = answer.httpVersion;
    info.m_nAttempts = answer.attempts;
    info.m_bUnreached = answer.unreached;
    info.m_nBytes = answer.bytesReceived;
    info.m_strContentType = ToKxString(answer.contentType);
    info.m_strCause = ToKxString(CauseOf(answer));
}

void HandOver(KxRawData& data, HttpAnswer& answer)
{
    if (ResultOf(answer) != NetError_Success)
        return;
    const std::size_t size = answer.body.Size();
    data.Attach(answer.body.Release(), static_cast<unsigned int>(size));
}

void FetchInto(KxRawData& data, KxNetRequestInfo& info, const Wish& wish, TimePoint start)
{
    info = KxNetRequestInfo{};
    info.m_result = NetError_Failure;
    info.m_strUrl = wish.url;
    HttpAnswer answer = Send(wish, start);
    Describe(info, answer);
    HandOver(data, answer);
}

} // namespace

NetError KxNetGetch::RequestData(KxRawData& data,
                                 const KxString& url,
                                 const KxString& /*body*/,
                                 const KxString& referer,
                                 int method,
                                 int /*fileType*/,
                                 int requestParam,
                                 const KxString& userAgent,
                                 const KxArray<KxString>* requestLines)
{
    const TimePoint start = std::chrono::steady_clock::now();
    KxNetRequestInfo& info = ThreadInfo();
    data.Clear();
    try {
        FetchInto(data, info, {url, referer, method, requestParam, userAgent, requestLines}, start);
    } catch (const std::exception&) {
        // Only memory runs out here; the words are short enough to need none.
        info.m_result = NetError_Failure;
        info.m_strCause = "out of memory";
    }
    info.m_dSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return info.m_result;
}

void KxNetGetch::SetMaxRequestsPerHost(int limit)
{
    SharedLayers().limited.SetLimit(limit);
}

bool KxNetGetch::SetCaFile(const KxString& path)
try {
    SharedLayers().transfer.SetCaFile(std::string(View(path)));
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

const KxNetRequestInfo& KxNetGetch::GetLastRequestInfo()
{
    return ThreadInfo();
}

void KxNetGetch::ClearLastRequestInfo()
{
    ThreadInfo() = KxNetRequestInfo{};
}

void KxNetGetch::SetLastRequestInfo(const KxNetRequestInfo& info)
{
    ThreadInfo() = info;
}

} // namespace KxC
