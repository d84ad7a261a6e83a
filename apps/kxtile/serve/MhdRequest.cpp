// SPDX-License-Identifier: MIT
#include "serve/MhdRequest.h"

#include "serve/HttpAddress.h"
#include "serve/PathText.h"

#include <strings.h>

namespace KxTileHost::Serve {

namespace {

MHD_Result CountHost(void* count, MHD_ValueKind, const char* name, const char*)
{
    *static_cast<int*>(count) += ::strcasecmp(name, "Host") == 0 ? 1 : 0;
    return MHD_YES;
}

} // namespace

int SocketOf(MHD_Connection* connection)
{
    const MHD_ConnectionInfo* const info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    return info == nullptr ? -1 : info->connect_fd;
}

MhdRequest::MhdRequest(MHD_Connection* connection, const char* method, const char* path)
    : m_connection(connection)
{
    m_method = method;
    m_path = path;
}

std::string MhdRequest::Query(const char* name) const
{
    const char* const value =
        MHD_lookup_connection_value(m_connection, MHD_GET_ARGUMENT_KIND, name);
    std::string decoded;
    // A text that cannot be decoded stays as it came, and is refused by whoever reads it.
    if (value != nullptr && !DecodePercent(value, decoded, SlashRule::Decode))
        decoded = value;
    return decoded;
}

const char* MhdRequest::Header(const char* name) const
{
    return MHD_lookup_connection_value(m_connection, MHD_HEADER_KIND, name);
}

std::string MhdRequest::LocalAddress() const
{
    sockaddr_storage address{};
    return GetLocal(address) ? TextOf(address) : "";
}

std::string MhdRequest::LocalHost() const
{
    sockaddr_storage address{};
    return GetLocal(address) ? HostAndPortOf(address) : "";
}

bool MhdRequest::IsAmbiguous() const
{
    int hosts = 0;
    MHD_get_connection_values(m_connection, MHD_HEADER_KIND, CountHost, &hosts);
    return hosts > 1 ||
           (Header("Content-Length") != nullptr && Header("Transfer-Encoding") != nullptr);
}

bool MhdRequest::GetLocal(sockaddr_storage& address) const
{
    socklen_t size = sizeof(address);
    return ::getsockname(SocketOf(m_connection), reinterpret_cast<sockaddr*>(&address), &size) == 0;
}

} // namespace KxTileHost::Serve
