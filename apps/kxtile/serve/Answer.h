// SPDX-License-Identifier: MIT
/// What the gateway answers a request with, before it becomes HTTP.
#pragma once

#include "KxRawData.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace KxTileHost::Serve {

namespace Status {
constexpr int kOk = 200;
constexpr int kNoContent = 204;
constexpr int kBadRequest = 400;
constexpr int kForbidden = 403;
constexpr int kNotFound = 404;
constexpr int kMethodNotAllowed = 405;
constexpr int kMisdirected = 421;
constexpr int kInternalError = 500;
constexpr int kBadGateway = 502;
constexpr int kUnavailable = 503;
constexpr int kGatewayTimeout = 504;
} // namespace Status

/// Bytes that several answers share. Copying one copies no bytes; they are never changed.
class Body
{
public:
    Body() = default;
    static Body OfText(std::string text);
    static Body OfRawData(std::unique_ptr<KxC::KxRawData> data);
    /// Bytes that live as long as the program.
    static Body OfStatic(const void* bytes, std::size_t size);

    const unsigned char* Data() const { return m_data; }
    std::size_t Size() const { return m_size; }

private:
    const unsigned char* m_data = nullptr;
    std::size_t m_size = 0;
    std::shared_ptr<const void> m_owner;
};

/// Where a server keeps what it made of an answer, so that an answer that is given often is made
/// once. Made by the first who asks, any thread.
class PreparedSlot
{
public:
    template <typename Make>
    const std::shared_ptr<void>& Get(const Make& make) const
    {
        std::call_once(m_once, [&] { m_made = make(); });
        return m_made;
    }

private:
    mutable std::once_flag m_once;
    mutable std::shared_ptr<void> m_made;
};

struct Answer
{
    int m_status = Status::kOk;
    std::string m_contentType; ///< empty: none is told
    Body m_body;
    std::string m_etag;         ///< strong, with its quotation marks; empty: none
    std::string m_cacheControl; ///< empty: none is told
    std::string m_cacheState;   ///< X-Cache of a tile: memory, disk, output or upstream
    double m_milliseconds = -1; ///< that a tile took to be made; negative: not told
    std::vector<std::pair<std::string, std::string>> m_headers;
    PreparedSlot m_prepared; ///< for the server
};

using AnswerPtr = std::shared_ptr<const Answer>;

/// One line of words, that no cache keeps.
std::shared_ptr<Answer> TextAnswer(int status, const std::string& line);
/// A refusal that says when to come again.
std::shared_ptr<Answer> BusyAnswer(const std::string& line, int retryAfterSeconds);
/// A document with a strong ETag.
std::shared_ptr<Answer>
DocumentAnswer(const std::string& contentType, Body body, const std::string& cacheControl);

/// A strong ETag of the bytes, with its quotation marks.
std::string ETagOf(const Body& body);
/// Whether an If-None-Match line names the ETag, or any.
bool MatchesETag(const std::string& ifNoneMatch, const std::string& etag);

} // namespace KxTileHost::Serve
