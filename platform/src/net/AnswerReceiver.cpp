// SPDX-License-Identifier: MIT
#include "AnswerReceiver.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>
#include <utility>

namespace KxC::Http {

namespace {

/// Room made before the first byte. A server that promises more must send to get more.
constexpr std::uint64_t kMaxTrustedPromise = std::uint64_t{4} << 20;
constexpr std::string_view kContentLength = "content-length:";

bool StartsWithNoCase(std::string_view text, std::string_view start)
{
    return text.size() >= start.size() &&
           ::strncasecmp(text.data(), start.data(), start.size()) == 0;
}

/// The number that the text starts with after blanks; 0 for none, the largest when too big.
std::uint64_t LeadingNumber(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc::result_out_of_range ? std::numeric_limits<std::uint64_t>::max()
                                                   : number;
}

bool IsBlank(std::string_view line)
{
    return line == "\r\n" || line == "\n" || line.empty();
}

} // namespace

bool AnswerReceiver::OnHeaderLine(std::string_view line) noexcept
{
    m_headerBytes += line.size();
    ++m_headerLines;
    if (m_headerBytes > kMaxHeaderBytes || m_headerLines > kMaxHeaderLines)
        return Break(Stop::TooManyHeaders);
    const bool isTrailer = m_hasHead && m_bytesReceived > 0;
    if (isTrailer)
        return true;
    if (StartsWithNoCase(line, "HTTP/"))
        BeginAnswer(line);
    else if (StartsWithNoCase(line, kContentLength))
        m_promisedBytes = LeadingNumber(line.substr(kContentLength.size()));
    else if (IsBlank(line))
        return EndHead();
    return true;
}

bool AnswerReceiver::OnBody(const char* bytes, std::size_t count) noexcept
{
    m_bytesReceived += count;
    if (!WantsBody())
        return m_bytesReceived <= kMaxErrorPageBytes || Break(Stop::ErrorPageTooLarge);
    if (m_bytesReceived > kMaxBodyBytes)
        return Break(Stop::BodyTooLarge);
    return m_body.Append(bytes, count) || Break(Stop::NoMemory);
}

MallocBuffer AnswerReceiver::TakeBody()
{
    m_body.Trim();
    return std::move(m_body);
}

void AnswerReceiver::BeginAnswer(std::string_view statusLine) noexcept
{
    const std::size_t blank = std::min(statusLine.find(' '), statusLine.size());
    const std::uint64_t status = LeadingNumber(statusLine.substr(blank));
    m_status = status < 1000 ? static_cast<int>(status) : 0;
    m_hasBegun = m_status >= 200;
    m_hasHead = false;
    m_promisedBytes = 0;
}

void AnswerReceiver::AwaitNext() noexcept
{
    m_stop = Stop::None;
    m_hasBegun = false;
    m_hasHead = false;
    m_promisedBytes = 0;
    m_bytesReceived = 0;
    m_body.Clear();
}

bool AnswerReceiver::EndHead() noexcept
{
    m_hasHead = true;
    if (!WantsBody())
        return true;
    if (m_promisedBytes > kMaxBodyBytes)
        return Break(Stop::BodyTooLarge);
    return m_body.Reserve(
               static_cast<std::size_t>(std::min(m_promisedBytes, kMaxTrustedPromise))) ||
           Break(Stop::NoMemory);
}

bool AnswerReceiver::Break(Stop why) noexcept
{
    m_stop = why;
    m_body.Clear();
    return false;
}

} // namespace KxC::Http
