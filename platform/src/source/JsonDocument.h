// SPDX-License-Identifier: MIT
#pragma once

#include "Report.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace KxC {

/// A JSON object from outside, of bounded depth.
class JsonDocument
{
public:
    /// @param text  outlives the document
    explicit JsonDocument(std::string_view text) : m_text(text) {}

    /// Parses the text; what is wrong with it is reported.
    bool Parse(Report& report);

    /// The value of a key of the object, null when it has none.
    const nlohmann::json* Find(const std::string& key) const;
    /// The line of a key, as far as a search of the text tells; 0 when it is not there.
    int LineOf(const std::string& key) const;

private:
    std::string_view m_text;
    nlohmann::json m_value;
};

} // namespace KxC
