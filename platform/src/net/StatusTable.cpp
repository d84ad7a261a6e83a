// SPDX-License-Identifier: MIT
#include "StatusTable.h"

namespace KxC::Http {

namespace {

std::string AdviceFor(int status)
{
    if (status == 401 || status == 403 || status == 407)
        return "; access refused: check the key, user agent and headers of the source";
    if (status == 418) // what tile services answer to programs that they block
        return "; the service asks to be left alone: stop, and check its usage policy and the user "
               "agent of the source";
    if (status == 429)
        return "; too many requests: ask for less at a time or wait";
    if (status >= 500)
        return "; the server is in trouble: try again later";
    if (status >= 300 && status < 400)
        return "; the redirect leads nowhere: check the address";
    return "; no tile in this form: check the address";
}

} // namespace

NetError ResultOfStatus(int status)
{
    switch (status) {
    case 204: // nothing here, and that is fine
    case 404: // sea, or beyond the source's levels
    case 410:
        return NetError_NoData;
    case 206: // a piece of a tile is no tile, and none was asked for
        return NetError_Failure;
    default:
        return status >= 200 && status < 300 ? NetError_Success : NetError_Failure;
    }
}

bool IsTransientStatus(int status)
{
    return status == 429 || status == 502 || status == 503 || status == 504;
}

NetError ResultOf(const HttpAnswer& answer)
{
    return answer.complete ? ResultOfStatus(answer.status) : NetError_Failure;
}

std::string CauseOf(const HttpAnswer& answer)
{
    if (!answer.complete)
        return answer.cause;
    switch (ResultOfStatus(answer.status)) {
    case NetError_Success:
        return {};
    case NetError_NoData:
        return "the server has no tile at this address (status " + std::to_string(answer.status) +
               ")";
    default:
        return "the server answered with status " + std::to_string(answer.status) +
               AdviceFor(answer.status);
    }
}

} // namespace KxC::Http
