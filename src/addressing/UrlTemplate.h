// SPDX-License-Identifier: MIT
#pragma once

#include "KxString.h"

#include <initializer_list>

namespace KxC {

/// What fills a conversion of a URL template: a text or a number. Refers to the text.
class UrlArgument
{
public:
    // NOLINTNEXTLINE(google-explicit-constructor): one of two kinds
    UrlArgument(const KxString& text) : m_pText(&text), m_number(0) {}
    // NOLINTNEXTLINE(google-explicit-constructor): one of two kinds
    UrlArgument(int number) : m_pText(nullptr), m_number(number) {}

    /// The text, or null when it is a number.
    const KxString* GetText() const { return m_pText; }
    int GetNumber() const { return m_number; }

private:
    const KxString* m_pText;
    int m_number;
};

/// Fills "%s" and "%d" with the arguments in their order, whatever their kind: a number stands as
/// its decimal digits, a text as it is. "%%" gives "%". Templates come from outside, so nothing
/// else is a conversion: any other percent sign, and a conversion with no argument left, stays.
KxString FillUrlTemplate(const KxString& urlTemplate, std::initializer_list<UrlArgument> arguments);

} // namespace KxC
