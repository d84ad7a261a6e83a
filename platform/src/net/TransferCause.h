// SPDX-License-Identifier: MIT
#pragma once

#include "AnswerReceiver.h"
#include "HttpClient.h"

#include <curl/curl.h>

#include <string>

namespace KxC::Http {

/// A transfer that broke.
struct TransferFault
{
    CURLcode code = CURLE_OK;
    AnswerReceiver::Stop stop = AnswerReceiver::Stop::None;
    int status = 0; ///< of the last answer begun, 0 when there was none
    std::uint64_t bytesReceived = 0;
    bool connected = false;      ///< a connection stood
    bool deadlinePassed = false; ///< the whole time-out is used up
    bool leavesTls = false;      ///< a redirect led from https down to http
    int proxyStatus = 0;         ///< of a proxy's answer to CONNECT, 0 when it gave none
    long systemError = 0;        ///< errno of the connection, 0 when it has none
    std::string libraryWords;    ///< what the client library says about it
};

/// What failed and how to mend it.
std::string WordsFor(const TransferFault& fault, const HttpRequest& request);

/// Whether nobody came to be asked: no connection stood, or none that may be trusted.
bool IsUnreached(const TransferFault& fault);

/// Whether another try may mend it: resets and time-outs.
bool IsTransient(const TransferFault& fault);

} // namespace KxC::Http
