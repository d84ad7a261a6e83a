// SPDX-License-Identifier: MIT
#pragma once

#include "EarthServer.h"
#include "Graticule.h"
#include "Marble.h"
#include "Routes.h"
#include "TileCache.h"

#include <memory>
#include <string>

namespace KxOrigin {

struct Response
{
    int status = 200;
    std::string contentType;
    std::shared_ptr<const Bytes> body; ///< never null
};

/// Requests in, answers out, without a socket. Safe for several threads.
class Service
{
public:
    /// @param world  the marble's source, 360 x 180 degrees
    explicit Service(Pixels world);

    /// Never throws: what goes wrong inside becomes status 500.
    Response Respond(const Request& request) noexcept;

private:
    Response Deliver(const TileOrder& order);
    Response Deliver(const EarthOrder& order);
    Response Deliver(const TextAnswer& answer);
    std::shared_ptr<const Bytes> EncodedTile(const TileOrder& order);
    const Picture& PictureOf(PictureKind kind) const;

    Marble m_marble;
    Graticule m_graticule;
    EarthServer m_earth;
    TileCache m_cache;
};

} // namespace KxOrigin
