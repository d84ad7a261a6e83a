// SPDX-License-Identifier: MIT
#include "KxString.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace KxC {

namespace {

/// ASCII only: the process's locale must not change which cache keys are equal.
unsigned char ToLowerAscii(unsigned char character)
{
    return character >= 'A' && character <= 'Z'
               ? static_cast<unsigned char>(character + ('a' - 'A'))
               : character;
}

} // namespace

KxString::KxString() = default;

KxString::KxString(const char* text) : m_bytes(text == nullptr ? "" : text) {}

KxString::KxString(const char* bytes, int length)
{
    if (bytes != nullptr && length > 0)
        m_bytes.assign(bytes, static_cast<std::size_t>(length));
}

KxString::KxString(const KxString& other) = default;
KxString::KxString(KxString&& other) noexcept = default;
KxString::~KxString() = default;
KxString& KxString::operator=(const KxString& other) = default;
KxString& KxString::operator=(KxString&& other) noexcept = default;

const char* KxString::Cstr() const
{
    return m_bytes.c_str();
}

int KxString::GetLength() const
{
    return static_cast<int>(m_bytes.size());
}

unsigned char KxString::IsEmpty() const
{
    return m_bytes.empty() ? 1 : 0;
}

KxString& KxString::Format(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length > 0) // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_copy filled it
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    m_bytes = std::move(text);
    return *this;
}

int KxString::Replace(const KxString& oldText, const KxString& newText)
{
    if (oldText.m_bytes.empty())
        return 0;
    int count = 0;
    std::string replaced;
    std::size_t from = 0;
    for (std::size_t at = m_bytes.find(oldText.m_bytes); at != std::string::npos;
         at = m_bytes.find(oldText.m_bytes, from)) {
        replaced.append(m_bytes, from, at - from).append(newText.m_bytes);
        from = at + oldText.m_bytes.size();
        ++count;
    }
    if (count > 0)
        m_bytes = replaced.append(m_bytes, from);
    return count;
}

void KxString::Split(KxArray<KxString>& parts,
                     const KxString& separators,
                     unsigned char keepEmpty) const
{
    std::size_t from = 0;
    while (from <= m_bytes.size()) {
        const std::size_t at =
            std::min(m_bytes.find_first_of(separators.m_bytes, from), m_bytes.size());
        if (at > from || keepEmpty != 0)
            parts.Add(KxString(m_bytes.data() + from, static_cast<int>(at - from)));
        from = at + 1;
    }
}

int KxString::Find(const KxString& text, int start) const
{
    const std::size_t at = m_bytes.find(text.m_bytes, static_cast<std::size_t>(std::max(start, 0)));
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

KxString KxString::Left(int count) const
{
    return {m_bytes.data(), std::min(count, GetLength())};
}

KxString KxString::Right(int count) const
{
    const int length = std::clamp(count, 0, GetLength());
    return {m_bytes.data() + (GetLength() - length), length};
}

int KxString::CompareNoCase(const KxString& other) const
{
    const std::size_t common = std::min(m_bytes.size(), other.m_bytes.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int difference = ToLowerAscii(static_cast<unsigned char>(m_bytes[i])) -
                               ToLowerAscii(static_cast<unsigned char>(other.m_bytes[i]));
        if (difference != 0)
            return difference;
    }
    if (m_bytes.size() == other.m_bytes.size())
        return 0;
    return m_bytes.size() < other.m_bytes.size() ? -1 : 1;
}

KxString& KxString::operator+=(const KxString& other)
{
    m_bytes += other.m_bytes;
    return *this;
}

KxString& KxString::operator+=(char character)
{
    m_bytes += character;
    return *this;
}

char KxString::operator[](int position) const
{
    const bool inside = position >= 0 && position < GetLength();
    return inside ? m_bytes[static_cast<std::size_t>(position)] : '\0';
}

KxString operator+(const KxString& left, const KxString& right)
{
    KxString sum(left);
    sum += right;
    return sum;
}

bool operator==(const KxString& left, const KxString& right)
{
    return left.m_bytes == right.m_bytes;
}

} // namespace KxC
