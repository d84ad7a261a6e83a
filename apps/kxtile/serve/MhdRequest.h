// SPDX-License-Identifier: MIT
#pragma once

#include "serve/HttpRequest.h"

#include <microhttpd.h>
#include <sys/socket.h>

#include <string>

namespace KxTileHost::Serve {

/// -1 when there is none.
int SocketOf(MHD_Connection* connection);

/// A request as libmicrohttpd has read it.
class MhdRequest : public HttpRequest
{
public:
    /// @param method, path  must outlive the request
    MhdRequest(MHD_Connection* connection, const char* method, const char* path);

    std::string Query(const char* name) const override;
    const char* Header(const char* name) const override;
    std::string LocalAddress() const override;
    std::string LocalHost() const override;
    bool IsAmbiguous() const override;

private:
    bool GetLocal(sockaddr_storage& address) const;

    MHD_Connection* m_connection;
};

} // namespace KxTileHost::Serve
