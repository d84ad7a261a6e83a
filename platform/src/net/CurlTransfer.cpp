// SPDX-License-Identifier: MIT
#include "CurlTransfer.h"

#include "AnswerReceiver.h"
#include "CurlHandle.h"
#include "HeaderLines.h"
#include "Redirect.h"
#include "TransferCause.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <new>
#include <string_view>

namespace KxC::Http {

namespace {

/// The client library's timer may ring a little early: what ends this close to the deadline ended
/// because of it.
constexpr Milliseconds kTimerSlack{10};

struct FreeList
{
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, FreeList>;

std::size_t ReceiveBody(char* bytes, std::size_t /*one*/, std::size_t count, void* receiver)
{
    const bool goesOn = static_cast<AnswerReceiver*>(receiver)->OnBody(bytes, count);
    return goesOn ? count : CURL_WRITEFUNC_ERROR;
}

/// The client library reads "Name:" as "do not send Name" and "Name;" as a header without value.
std::string ForLibrary(const std::string& line)
{
    const std::size_t colon = line.find(':');
    const bool hasValue = line.find_first_not_of(" \t", colon + 1) != std::string::npos;
    return hasValue ? line : line.substr(0, colon) + ";";
}

/// @param isOwnOrigin  whether they go to the host that the lines are meant for; others learn only
///                     who asks
HeaderList MakeHeaderList(const std::vector<std::string>& lines, bool isOwnOrigin)
{
    HeaderList list;
    for (const std::string& line : lines) {
        if (!isOwnOrigin && !IsHeader(line, "User-Agent"))
            continue;
        curl_slist* const longer = curl_slist_append(list.get(), ForLibrary(line).c_str());
        if (longer == nullptr)
            throw std::bad_alloc();
        static_cast<void>(list.release());
        list.reset(longer);
    }
    return list;
}

template <class Value>
bool Set(CURL* handle, CURLoption option, Value value)
{
    return curl_easy_setopt(handle, option, value) == CURLE_OK;
}

/// Half of what was asked for, so that a stalled answer leaves time for another try, yet never so
/// short that a slow line is given up.
long StallSeconds(Milliseconds timeout, std::chrono::seconds shortest)
{
    const auto half = std::chrono::duration_cast<std::chrono::seconds>(timeout / 2);
    return static_cast<long>(std::max(shortest, half).count());
}

/// In tenths, as HttpAnswer tells it.
int TenfoldVersion(long libraryVersion)
{
    switch (libraryVersion) {
    case CURL_HTTP_VERSION_1_0:
        return 10;
    case CURL_HTTP_VERSION_1_1:
        return 11;
    case CURL_HTTP_VERSION_2_0:
        return 20;
    default:
        return 0;
    }
}

long RemainingMs(TimePoint deadline, TimePoint now)
{
    const auto remaining = std::chrono::ceil<Milliseconds>(deadline - now).count();
    // 0 would mean "no limit" to the client library.
    return static_cast<long>(
        std::clamp<Milliseconds::rep>(remaining, 1, std::numeric_limits<int>::max()));
}

/// What belongs to one request and the redirects it meets: set before it, taken back after it, for
/// it points to locals.
class Exchange
{
public:
    Exchange(CURL* handle, const HttpRequest& request, const Clock& clock, long stallSeconds)
        : m_handle(handle), m_request(request), m_clock(clock), m_stallSeconds(stallSeconds),
          m_url(request.url), m_headers(MakeHeaderList(request.headerLines, true))
    {
    }
    ~Exchange()
    {
        Set<curl_slist*>(m_handle, CURLOPT_HTTPHEADER, nullptr);
        Set<char*>(m_handle, CURLOPT_ERRORBUFFER, nullptr);
        Set<void*>(m_handle, CURLOPT_WRITEDATA, nullptr);
        Set<void*>(m_handle, CURLOPT_HEADERDATA, nullptr);
    }
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    CURLcode Run();
    HttpAnswer AnswerFor(CURLcode code);

private:
    static std::size_t
    ReceiveHeader(char* bytes, std::size_t one, std::size_t count, void* exchange) noexcept;
    bool Prepare();
    bool SetFloorOnSpeed(long seconds);
    bool OnHeaderLine(std::string_view line);
    CURLcode Ask();
    std::string Location() const;
    CURLcode GoTo(const std::string& location);
    TransferFault FaultFor(CURLcode code) const;
    std::string CauseOf(const TransferFault& fault) const;
    bool IsSettledByStatus() const;
    template <class Value>
    Value Info(CURLINFO info) const;

    CURL* m_handle;
    const HttpRequest& m_request;
    const Clock& m_clock;
    long m_stallSeconds;
    std::string m_url; ///< asked now: the request's, later what a redirect named
    bool m_leavesTls = false;
    HeaderList m_headers;
    AnswerReceiver m_receiver;
    bool m_hasFloor = false; ///< on the speed of the answer
    std::array<char, CURL_ERROR_SIZE> m_words{};
};

std::size_t Exchange::ReceiveHeader(char* bytes,
                                    std::size_t /*one*/,
                                    std::size_t count,
                                    void* exchange) noexcept
{
    const bool goesOn = static_cast<Exchange*>(exchange)->OnHeaderLine({bytes, count});
    return goesOn ? count : CURL_WRITEFUNC_ERROR;
}

bool Exchange::OnHeaderLine(std::string_view line)
{
    const bool goesOn = m_receiver.OnHeaderLine(line);
    if (!m_hasFloor && m_receiver.HasBegun())
        return goesOn && SetFloorOnSpeed(m_stallSeconds);
    return goesOn;
}

/// @param seconds  for how long the answer may stay below it; 0 for no floor
bool Exchange::SetFloorOnSpeed(long seconds)
{
    m_hasFloor = seconds > 0;
    return Set(m_handle, CURLOPT_LOW_SPEED_TIME, seconds);
}

bool Exchange::Prepare()
{
    const std::string& agent = m_request.userAgent;
    return Set(m_handle, CURLOPT_URL, m_url.c_str()) &&
           Set(m_handle, CURLOPT_USERAGENT, agent.empty() ? nullptr : agent.c_str()) &&
           Set(m_handle, CURLOPT_HTTPHEADER, m_headers.get()) &&
           Set(m_handle, CURLOPT_TIMEOUT_MS, RemainingMs(m_request.deadline, m_clock.Now())) &&
           Set(m_handle, CURLOPT_CONNECTTIMEOUT_MS, kConnectTimeoutMs) &&
           SetFloorOnSpeed(0) && // until the answer begins
           Set(m_handle, CURLOPT_HEADERFUNCTION, &ReceiveHeader) &&
           Set(m_handle, CURLOPT_WRITEFUNCTION, &ReceiveBody) &&
           Set<void*>(m_handle, CURLOPT_HEADERDATA, this) &&
           Set<void*>(m_handle, CURLOPT_WRITEDATA, &m_receiver) &&
           Set(m_handle, CURLOPT_ERRORBUFFER, m_words.data());
}

/// Asks where the address says, and then where the answers say.
CURLcode Exchange::Run()
{
    for (long redirects = 0;; ++redirects) {
        const CURLcode code = Ask();
        const std::string location = Location();
        if (location.empty())
            return code;
        m_words[0] = '\0';
        if (redirects == kMaxRedirects)
            return CURLE_TOO_MANY_REDIRECTS;
        if (const CURLcode refusal = GoTo(location); refusal != CURLE_OK)
            return refusal;
    }
}

CURLcode Exchange::Ask()
{
    return Prepare() ? curl_easy_perform(m_handle) : CURLE_OUT_OF_MEMORY;
}

/// Where the answer sends us; empty when it does not. Its head says so: whether its page arrives
/// whole does not matter.
std::string Exchange::Location() const
{
    const bool isRedirect = m_receiver.HasHead() && m_receiver.Status() >= 300 &&
                            m_receiver.Status() < 400 &&
                            m_receiver.WhyStopped() != AnswerReceiver::Stop::TooManyHeaders;
    curl_header* header = nullptr;
    constexpr int kLastRequest = -1;
    if (!isRedirect ||
        curl_easy_header(m_handle, "Location", 0, CURLH_HEADER, kLastRequest, &header) != CURLHE_OK)
        return {};
    return header->value;
}

/// Gets ready to ask there. @return why not, CURLE_OK otherwise
CURLcode Exchange::GoTo(const std::string& location)
{
    Redirect redirect = JudgeRedirect(m_request.url, m_url, location);
    m_leavesTls = redirect.verdict == Redirect::Verdict::LeavesTls;
    if (redirect.verdict == Redirect::Verdict::Malformed)
        return CURLE_URL_MALFORMAT;
    if (redirect.verdict != Redirect::Verdict::Follow)
        return CURLE_UNSUPPORTED_PROTOCOL;
    m_url = std::move(redirect.url);
    m_headers = MakeHeaderList(m_request.headerLines, redirect.isOwnOrigin);
    m_receiver.AwaitNext();
    return CURLE_OK;
}

template <class Value>
Value Exchange::Info(CURLINFO info) const
{
    Value value{};
    curl_easy_getinfo(m_handle, info, &value);
    return value;
}

TransferFault Exchange::FaultFor(CURLcode code) const
{
    TransferFault fault;
    fault.code = code;
    fault.stop = m_receiver.WhyStopped();
    fault.status = m_receiver.Status();
    fault.bytesReceived = m_receiver.BytesReceived();
    fault.connected = Info<curl_off_t>(CURLINFO_CONNECT_TIME_T) > 0;
    fault.deadlinePassed = m_clock.Now() + kTimerSlack >= m_request.deadline;
    fault.leavesTls = m_leavesTls;
    fault.proxyStatus = static_cast<int>(Info<long>(CURLINFO_HTTP_CONNECTCODE));
    fault.systemError = Info<long>(CURLINFO_OS_ERRNO);
    fault.libraryWords = m_words.data();
    return fault;
}

/// Names the host that was asked last.
std::string Exchange::CauseOf(const TransferFault& fault) const
{
    HttpRequest last = m_request;
    last.url = m_url;
    return WordsFor(fault, last);
}

/// An error status says all: whether its page arrives whole does not matter.
bool Exchange::IsSettledByStatus() const
{
    return m_receiver.HasHead() && m_receiver.Status() >= 400 &&
           m_receiver.WhyStopped() != AnswerReceiver::Stop::TooManyHeaders;
}

HttpAnswer Exchange::AnswerFor(CURLcode code)
{
    HttpAnswer answer;
    answer.attempts = 1;
    answer.status = m_receiver.Status();
    answer.httpVersion = TenfoldVersion(Info<long>(CURLINFO_HTTP_VERSION));
    answer.bytesReceived = m_receiver.BytesReceived();
    answer.complete = code == CURLE_OK || IsSettledByStatus();
    if (const char* type = Info<char*>(CURLINFO_CONTENT_TYPE))
        answer.contentType = type;
    answer.retryAfter =
        std::chrono::seconds(std::max<curl_off_t>(0, Info<curl_off_t>(CURLINFO_RETRY_AFTER)));
    if (answer.complete) {
        answer.body = m_receiver.TakeBody();
        return answer;
    }
    const TransferFault fault = FaultFor(code);
    answer.cause = CauseOf(fault);
    answer.transient = IsTransient(fault);
    answer.unreached = IsUnreached(fault);
    return answer;
}

} // namespace

HttpAnswer CurlTransfer::Send(const HttpRequest& request)
{
    CURL* const handle = ThreadCurlHandle(m_caFile.Get());
    if (handle == nullptr) {
        HttpAnswer answer;
        answer.cause = "the HTTP client cannot be started; out of memory or a broken libcurl";
        return answer;
    }
    Exchange exchange(handle, request, m_clock, StallSeconds(request.timeout, m_shortestStall));
    const CURLcode code = exchange.Run();
    return exchange.AnswerFor(code);
}

} // namespace KxC::Http
