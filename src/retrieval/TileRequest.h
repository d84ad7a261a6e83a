// SPDX-License-Identifier: MIT
#pragma once

#include "KxNetGetch.h"
#include "KxRawData.h"
#include "KxTSDParam.h"

namespace KxC {

/// Asks the service for a tile's bytes, with the source's header lines.
/// @param requestParam  total time-out in milliseconds, 0 for the default
NetError RequestTile(KxRawData& body,
                     const KxTSDParamItem& source,
                     const KxString& url,
                     const KxString& userAgent,
                     int requestParam);

} // namespace KxC
