// SPDX-License-Identifier: MIT
#pragma once

#include "KxUtility.h"

#include <string>
#include <string_view>
#include <vector>

namespace KxC {

/// Collects what there is to say about one definition. A hostile file can be wrong in a hundred
/// thousand places, so only the first messages are kept.
class Report
{
public:
    void Error(int line, std::string_view key, const std::string& text);
    void Warn(int line, std::string_view key, const std::string& text);
    /// An error of what is right in itself, but lacks a variable.
    void Lack(int line, std::string_view key, const std::string& text);
    /// A warning of what loads but cannot give right tiles.
    void Mislead(int line, std::string_view key, const std::string& text);
    bool Failed() const { return m_failed; }
    /// Whether another warning would be kept.
    bool HasRoom() const;
    /// The messages in the order of their lines.
    std::vector<KxTSDMessage> Take();

private:
    void Add(KxTSDMessage message);

    std::vector<KxTSDMessage> m_messages;
    bool m_failed = false;
};

/// A text from outside as it may stand in a message: without control characters, of bounded
/// length.
std::string Printable(std::string_view text);

} // namespace KxC
