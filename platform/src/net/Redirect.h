// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace KxC::Http {

/// Where an answer's Location leads, and whether to go there.
struct Redirect
{
    enum class Verdict {
        Follow,
        Malformed,   ///< no address
        OtherScheme, ///< neither http nor https
        LeavesTls,   ///< from https down to http
    };
    Verdict verdict = Verdict::Malformed;
    std::string url; ///< absolute; holds the request's own user and password if `isOwnOrigin`
    /// Whether it stays with the host and port that the request was meant for. Only there may the
    /// request's own header lines go: they may hold a key. The same host's https instead of its
    /// http, each on its usual port, counts as the same.
    bool isOwnOrigin = false;
};

/// Judges a redirect.
/// @param asked     the address that the request was meant for
/// @param from      the address that answered with the redirect: `asked` or an earlier redirect
/// @param location  the header's value, absolute or relative to `from`
/// @throws std::bad_alloc
Redirect
JudgeRedirect(const std::string& asked, const std::string& from, const std::string& location);

} // namespace KxC::Http
