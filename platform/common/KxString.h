// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxContainers.h"

#include <string>

namespace KxC {

/// A byte string, UTF-8 by convention. Positions and lengths count bytes; it may hold NUL bytes.
/// Threads: separate objects are independent; const use of one object may be shared.
class KXCOMMON_API KxString
{
public:
    KxString();
    /// @param text  NUL-terminated; null counts as empty
    KxString(const char* text); // NOLINT(google-explicit-constructor): texts convert freely
    /// @param length  bytes to take from `bytes`; negative counts as 0
    KxString(const char* bytes, int length);
    KxString(const KxString& other);
    KxString(KxString&& other) noexcept;
    ~KxString();
    KxString& operator=(const KxString& other);
    KxString& operator=(KxString&& other) noexcept;

    /// The bytes, NUL-terminated; valid until the string changes.
    const char* Cstr() const;
    int GetLength() const;
    unsigned char IsEmpty() const;

    /// Replaces the content by printf-formatted text. Never hand it a format from outside.
    KxString& Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    /// Replaces every occurrence, from the left, without looking again at what was put in.
    /// @return how many were replaced; 0 for an empty `oldText`
    int Replace(const KxString& oldText, const KxString& newText);

    /// Appends the pieces between separators to `parts`.
    /// @param separators  each character of it separates
    /// @param keepEmpty   0 drops empty pieces, else they are kept
    void Split(KxArray<KxString>& parts, const KxString& separators, unsigned char keepEmpty) const;

    /// @param start  first position looked at
    /// @return position of the first occurrence at or after `start`, -1 when there is none
    int Find(const KxString& text, int start = 0) const;

    /// The first or last `count` bytes, all of them when there are fewer, none when negative.
    KxString Left(int count) const;
    KxString Right(int count) const;

    /// Compares without regard to the case of ASCII letters.
    /// @return 0 when equal, negative when this string sorts first, else positive
    int CompareNoCase(const KxString& other) const;

    KxString& operator+=(const KxString& other);
    KxString& operator+=(char character);
    /// Byte at `position`, '\0' outside [0, GetLength()).
    char operator[](int position) const;

    KXCOMMON_API friend KxString operator+(const KxString& left, const KxString& right);
    KXCOMMON_API friend bool operator==(const KxString& left, const KxString& right);

private:
    std::string m_bytes;
};

KXCOMMON_API KxString operator+(const KxString& left, const KxString& right);
KXCOMMON_API bool operator==(const KxString& left, const KxString& right);

} // namespace KxC
