// SPDX-License-Identifier: MIT
#pragma once

#include "Routes.h"

#include <span>
#include <string>

namespace KxOrigin {

/// The earth server's addresses, read behind their first part. Each ends in dbRoot.v5 or flatfile.

/// /earth/...
Answer RouteEarth(std::span<const std::string> parts, const Request& request);
/// /earth-with/{options}/...
Answer RouteEarthWith(std::span<const std::string> parts, const Request& request);
/// /earth-broken/{fault}/...
Answer RouteEarthBroken(std::span<const std::string> parts, const Request& request);

} // namespace KxOrigin
