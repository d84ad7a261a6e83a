// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace KxC {

struct ExpansionProblem
{
    std::string text;
    bool onlyUnset = false; ///< the text is right, but variables that it names are not set
};

/// Replaces every "${NAME}" by the environment variable of that name; "$${" gives a plain "${".
/// What a variable holds is not looked at again.
/// @param problem  says why there is no result; it names variables, never what they hold
std::optional<std::string> ExpandVariables(std::string_view text, ExpansionProblem& problem);

} // namespace KxC
