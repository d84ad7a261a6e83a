// SPDX-License-Identifier: MIT
#include "serve/Responses.h"

#include <fmt/format.h>
#include <microhttpd.h>

#include <memory>
#include <utility>

namespace KxTileHost::Serve {

namespace {

constexpr char kExposed[] = "ETag, Retry-After, Server-Timing, X-Cache";

void ReleaseBody(void* body)
{
    delete static_cast<Body*>(body);
}

/// The response shares the bytes instead of copying them.
std::shared_ptr<MHD_Response> OfBody(const Body& body)
{
    auto shared = std::make_unique<Body>(body);
    // Declared for bytes that may be written to; responses are only ever read.
    auto* const bytes = const_cast<unsigned char*>(body.Data());
    MHD_Response* const made = MHD_create_response_from_buffer_with_free_callback_cls(
        body.Size(), bytes, ReleaseBody, shared.get());
    if (made == nullptr)
        return nullptr;
    static_cast<void>(shared.release()); // ReleaseBody has it now
    return {made, MHD_destroy_response};
}

void AddHeader(MHD_Response& response, const char* name, const std::string& value)
{
    if (!value.empty())
        MHD_add_response_header(&response, name, value.c_str());
}

std::shared_ptr<MHD_Response> Make(const Answer& answer, const std::string& serverName)
{
    std::shared_ptr<MHD_Response> response = OfBody(answer.m_body);
    if (response == nullptr)
        return nullptr;
    AddHeader(*response, "Server", serverName);
    AddHeader(*response, "ETag", answer.m_etag);
    AddHeader(*response, "Cache-Control", answer.m_cacheControl);
    AddHeader(*response, "X-Cache", answer.m_cacheState);
    if (answer.m_milliseconds >= 0)
        AddHeader(
            *response, "Server-Timing", fmt::format("tile;dur={:.1f}", answer.m_milliseconds));
    AddHeader(*response, "Access-Control-Allow-Origin", "*");
    AddHeader(*response, "Access-Control-Expose-Headers", kExposed);
    AddHeader(*response, "Timing-Allow-Origin", "*");
    AddHeader(*response, "Content-Type", answer.m_contentType);
    AddHeader(*response, "X-Content-Type-Options", "nosniff");
    for (const auto& [name, value] : answer.m_headers)
        AddHeader(*response, name.c_str(), value);
    return response;
}

/// Only the last answers of a connection say so: these are not worth keeping.
std::shared_ptr<void> MakeLast(const Answer& answer, const std::string& serverName)
{
    const std::shared_ptr<MHD_Response> response = Make(answer, serverName);
    if (response != nullptr)
        AddHeader(*response, "Connection", "close");
    return response;
}

bool IsNotModified(MHD_Connection* connection, const Answer& answer)
{
    if (answer.m_etag.empty() || answer.m_status != Status::kOk)
        return false;
    const char* const known =
        MHD_lookup_connection_value(connection, MHD_HEADER_KIND, "If-None-Match");
    return known != nullptr && MatchesETag(known, answer.m_etag);
}

} // namespace

int SendAnswer(MHD_Connection* connection,
               const Answer& answer,
               const std::string& serverName,
               Afterwards afterwards)
{
    const std::shared_ptr<void> response =
        afterwards == Afterwards::Close
            ? MakeLast(answer, serverName)
            : answer.m_prepared.Get([&] { return Make(answer, serverName); });
    if (response == nullptr)
        return 0;
    // "Not modified" says what the whole answer would, its length too; the bytes are left out.
    const int status = IsNotModified(connection, answer) ? MHD_HTTP_NOT_MODIFIED : answer.m_status;
    const MHD_Result queued = MHD_queue_response(
        connection, static_cast<unsigned int>(status), static_cast<MHD_Response*>(response.get()));
    return queued == MHD_YES ? status : 0;
}

} // namespace KxTileHost::Serve
