// SPDX-License-Identifier: MIT
#include "Environment.h"

#include "Report.h"

#include <algorithm>
#include <cstdlib>

namespace KxC {

namespace {

/// A short text naming a large variable many times would otherwise grow past all memory.
constexpr std::size_t kMaxExpanded = std::size_t{1} << 20;

bool IsNameByte(char byte)
{
    return byte == '_' || (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z');
}

bool IsName(std::string_view name)
{
    const bool startsWell = !name.empty() && !(name[0] >= '0' && name[0] <= '9');
    return startsWell && std::all_of(name.begin(), name.end(), IsNameByte);
}

/// Appends the variable that the "${" at `at` names and moves `at` behind it.
bool ExpandOne(std::string_view text, std::size_t& at, std::string& result, std::string& problem)
{
    const std::size_t close = text.find('}', at);
    const std::string name(close == std::string_view::npos ? ""
                                                           : text.substr(at + 2, close - at - 2));
    if (!IsName(name)) {
        problem = "holds \"${\" without a variable's name and \"}\" after it; write ${NAME}, or "
                  "$${ for a plain ${";
        return false;
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): hosts that change their environment do so at start
    const char* value = std::getenv(name.c_str());
    if (value == nullptr) {
        problem = "needs the environment variable " + Printable(name) +
                  ", which is not set; set it before the program starts";
        return false;
    }
    result += value;
    at = close + 1;
    return true;
}

} // namespace

std::optional<std::string> ExpandVariables(std::string_view text, std::string& problem)
{
    std::string result;
    std::size_t at = 0;
    while (at < text.size()) {
        if (text.substr(at, 3) == "$${") {
            result += "${";
            at += 3;
        } else if (text.substr(at, 2) != "${") {
            result += text[at++];
        } else if (!ExpandOne(text, at, result, problem)) {
            return std::nullopt;
        }
        if (result.size() > kMaxExpanded) {
            problem = "is longer than 1 MiB once its environment variables are filled in";
            return std::nullopt;
        }
    }
    return result;
}

} // namespace KxC
