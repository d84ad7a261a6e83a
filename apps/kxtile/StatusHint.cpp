// SPDX-License-Identifier: MIT
#include "StatusHint.h"

namespace KxTileHost {

std::string HintForStatus(int status)
{
    switch (status) {
    case 401:
    case 403:
        return "The service refuses the request: check its key, headers and user agent.";
    case 429:
        return "The service asks for fewer requests: wait, then try again.";
    default:
        return status >= 500 ? "The service is in trouble: try again later." : "";
    }
}

} // namespace KxTileHost
