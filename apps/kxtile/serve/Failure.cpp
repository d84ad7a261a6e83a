// SPDX-License-Identifier: MIT
#include "serve/Failure.h"

#include "KxGeFetcher.h"
#include "KxLuaToolkit.h"
#include "KxNetGetch.h"
#include "StatusHint.h"

#include <fmt/format.h>

#include <algorithm>

namespace KxTileHost::Serve {

namespace {

constexpr int kStatusGatewayTimeout = 504;

/// A request layer that gave up says so in its cause alone; the clock tells it too.
bool IsTooSlow(const KxC::KxNetRequestInfo& request, int timeoutMs)
{
    const double limit = timeoutMs > 0 ? timeoutMs : KxC::KxNetGetch::kDefaultTimeoutMs;
    return request.m_nHttpStatus == kStatusGatewayTimeout || request.m_dSeconds * 1000.0 >= limit;
}

/// Texts of others may quote the address with all it holds.
std::string WithoutAddress(std::string text, const std::string& address, const std::string& host)
{
    for (std::size_t at = text.find(address); !address.empty() && at != std::string::npos;
         at = text.find(address, at + host.size()))
        text.replace(at, address.size(), host);
    return text;
}

std::string CauseOf(const KxC::KxNetRequestInfo& request)
{
    const std::string address = request.m_strUrl.Cstr();
    const std::string host = HostOf(address);
    if (request.m_result == KxC::NetError_Success)
        return fmt::format("{} answered {} bytes of type '{}' that are no whole picture",
                           host,
                           request.m_nBytes,
                           request.m_strContentType.Cstr());
    std::string cause = fmt::format("{} answered with HTTP status {}", host, request.m_nHttpStatus);
    if (request.m_nHttpStatus == 0)
        cause = fmt::format("no answer from {}", host);
    cause += ": " + WithoutAddress(request.m_strCause.Cstr(), address, host);
    const std::string hint = HintForStatus(request.m_nHttpStatus);
    return hint.empty() ? cause : cause + ". " + hint;
}

Failure OfEarth(const KxC::KxGeFetchInfo& fetch, int timeoutMs)
{
    const KxC::KxNetRequestInfo& request = KxC::KxNetGetch::GetLastRequestInfo();
    Failure failure;
    failure.m_isNoTile = fetch.m_result == KxC::NetError_NoData;
    failure.m_isTooSlow =
        request.m_result == KxC::NetError_Failure && IsTooSlow(request, timeoutMs);
    const std::string address = request.m_strUrl.Cstr();
    failure.m_cause = WithoutAddress(fetch.m_strCause.Cstr(), address, HostOf(address));
    return failure;
}

Failure OfService(const Source& source, int timeoutMs)
{
    const KxC::KxNetRequestInfo& request = KxC::KxNetGetch::GetLastRequestInfo();
    Failure failure;
    if (request.m_strUrl.IsEmpty() == 0) {
        failure.m_isTooSlow =
            request.m_result == KxC::NetError_Failure && IsTooSlow(request, timeoutMs);
        failure.m_cause = CauseOf(request);
    } else if (source.m_item->m_bLuaScripted != 0) {
        failure.m_cause = fmt::format("the definition's script made no address: {}",
                                      KxC::KxLuaToolkit::GetLastError().Cstr());
    } else {
        failure.m_cause = "the library makes no tile of this size on this level";
    }
    return failure;
}

} // namespace

std::string HostOf(const std::string& address)
{
    const std::size_t mark = address.find("://");
    const std::size_t from = mark == std::string::npos ? 0 : mark + 3;
    const std::string authority = address.substr(from, address.find_first_of("/?#", from) - from);
    const std::size_t user = authority.rfind('@');
    return user == std::string::npos ? authority : authority.substr(user + 1);
}

Failure DescribeLastFailure(const Source& source, int timeoutMs)
{
    const KxC::KxGeFetchInfo& fetch = KxC::KxGeFetcher::GetLastFetchInfo();
    Failure failure =
        source.m_kind == Source::Kind::History && fetch.m_result != KxC::NetError_Success
            ? OfEarth(fetch, timeoutMs)
            : OfService(source, timeoutMs);
    failure.m_cause = source.m_secrets.Mask(failure.m_cause);
    return failure;
}

} // namespace KxTileHost::Serve
