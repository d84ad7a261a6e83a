// SPDX-License-Identifier: MIT
#include "TransferCause.h"

#include "CurlHandle.h"
#include "StatusTable.h"

#include <cerrno>

namespace KxC::Http {

namespace {

std::string Quoted(const std::string& text)
{
    return "'" + text + "'";
}

std::string WordsForStop(AnswerReceiver::Stop stop)
{
    switch (stop) {
    case AnswerReceiver::Stop::TooManyHeaders:
        return "answer with more than " + std::to_string(AnswerReceiver::kMaxHeaderLines) +
               " header lines or " + std::to_string(AnswerReceiver::kMaxHeaderBytes) +
               " bytes of them; not a tile service";
    case AnswerReceiver::Stop::BodyTooLarge:
        return "body larger than " + std::to_string(AnswerReceiver::kMaxBodyBytes) +
               " bytes; not a tile";
    case AnswerReceiver::Stop::NoMemory:
        return "out of memory while receiving the body";
    default:
        return {};
    }
}

std::string WordsForTimeout(const TransferFault& fault, const HttpRequest& request)
{
    const std::string host = Quoted(HostOf(request.url));
    if (fault.deadlinePassed)
        return "time-out of " + std::to_string(request.timeout.count()) + " ms reached after " +
               std::to_string(fault.bytesReceived) + " bytes from host " + host +
               "; allow more time or try later";
    if (!fault.connected)
        return "no connection to host " + host + " within " + std::to_string(kConnectTimeoutMs) +
               " ms; check address, network and proxy settings";
    return "answer of host " + host + " slower than " + std::to_string(kMinBytesPerSecond) +
           " bytes a second; try later";
}

std::string WordsForProtocol(const TransferFault& fault)
{
    if (fault.leavesTls)
        return "redirect from https to http refused, for others could read and change the answer; "
               "ask the service for an https address";
    if (fault.status >= 300 && fault.status < 400)
        return "redirect to a scheme other than http and https refused";
    return "the answer is not HTTP; check host and port of the address";
}

/// A proxy that answers CONNECT with anything but a success makes no tunnel.
bool IsRefusedByProxy(const TransferFault& fault)
{
    return fault.proxyStatus >= 300;
}

std::string WordsForProxy(const TransferFault& fault, const HttpRequest& request)
{
    return "the proxy made no tunnel to host " + Quoted(HostOf(request.url)) + " (status " +
           std::to_string(fault.proxyStatus) + "); check https_proxy and what the proxy allows";
}

std::string WordsForCode(const TransferFault& fault, const HttpRequest& request)
{
    const std::string host = Quoted(HostOf(request.url));
    switch (fault.code) {
    case CURLE_URL_MALFORMAT:
        return "the address is malformed; check it for blanks and odd characters";
    case CURLE_UNSUPPORTED_PROTOCOL:
        return WordsForProtocol(fault);
    case CURLE_COULDNT_RESOLVE_HOST:
        return "cannot resolve host " + host + "; check the name and the network";
    case CURLE_COULDNT_RESOLVE_PROXY:
        return "cannot resolve the proxy; check http_proxy and https_proxy";
    case CURLE_COULDNT_CONNECT:
        return "cannot connect to host " + host + "; check port, network and proxy settings";
    case CURLE_OPERATION_TIMEDOUT:
        return WordsForTimeout(fault, request);
    case CURLE_TOO_MANY_REDIRECTS:
        return "more than " + std::to_string(kMaxRedirects) + " redirects; check the address";
    case CURLE_PEER_FAILED_VERIFICATION:
        return "TLS certificate of host " + host +
               " not trusted; check its name and validity, and the certificates of the system or "
               "of "
               "your CA file";
    case CURLE_SSL_CACERT_BADFILE:
        return "the file of trusted certificates cannot be read; check the CA file that is set, "
               "KXTILE_CA_FILE, CURL_CA_BUNDLE and SSL_CERT_FILE";
    case CURLE_SSL_CONNECT_ERROR:
        return "no TLS connection to host " + host + "; check that it speaks https";
    case CURLE_PARTIAL_FILE:
        return "the answer broke off after " + std::to_string(fault.bytesReceived) + " bytes";
    case CURLE_GOT_NOTHING:
        return "host " + host + " closed the connection without an answer";
    case CURLE_OUT_OF_MEMORY:
        return "out of memory";
    default:
        return "connection to host " + host + " failed";
    }
}

} // namespace

std::string WordsFor(const TransferFault& fault, const HttpRequest& request)
{
    std::string words = WordsForStop(fault.stop);
    if (!words.empty())
        return words;
    if (IsRefusedByProxy(fault))
        return WordsForProxy(fault, request);
    words = WordsForCode(fault, request);
    if (!fault.libraryWords.empty())
        words += " (" + fault.libraryWords + ")";
    return words;
}

bool IsUnreached(const TransferFault& fault)
{
    switch (fault.code) {
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CONNECT_ERROR:
        return true;
    default:
        return !fault.connected || IsRefusedByProxy(fault);
    }
}

bool IsTransient(const TransferFault& fault)
{
    if (fault.stop != AnswerReceiver::Stop::None)
        return false;
    if (IsRefusedByProxy(fault))
        return IsTransientStatus(fault.proxyStatus);
    switch (fault.code) {
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
        return true;
    case CURLE_COULDNT_CONNECT:
    case CURLE_SSL_CONNECT_ERROR:
        // Only here: otherwise the number may be left over from an earlier request.
        return fault.systemError == ECONNRESET;
    default:
        return false;
    }
}

} // namespace KxC::Http
