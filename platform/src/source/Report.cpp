// SPDX-License-Identifier: MIT
#include "Report.h"

#include <algorithm>

namespace KxC {

namespace {

constexpr std::size_t kMaxMessages = 64;
constexpr std::size_t kMaxPrintable = 64;

bool IsContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

bool IsControl(char byte)
{
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

int Weight(const KxTSDMessage& message)
{
    return (message.m_bError ? 2 : 0) + (message.m_bMisleads ? 1 : 0);
}

} // namespace

void Report::Error(int line, std::string_view key, const std::string& text)
{
    m_failed = true;
    Add({true, line, Printable(key).c_str(), text.c_str(), true});
}

void Report::Lack(int line, std::string_view key, const std::string& text)
{
    m_failed = true;
    Add({true, line, Printable(key).c_str(), text.c_str(), false});
}

void Report::Warn(int line, std::string_view key, const std::string& text)
{
    Add({false, line, Printable(key).c_str(), text.c_str(), false});
}

void Report::Mislead(int line, std::string_view key, const std::string& text)
{
    Add({false, line, Printable(key).c_str(), text.c_str(), true});
}

bool Report::HasRoom() const
{
    return m_messages.size() < kMaxMessages;
}

std::vector<KxTSDMessage> Report::Take()
{
    std::stable_sort(m_messages.begin(),
                     m_messages.end(),
                     [](const KxTSDMessage& left, const KxTSDMessage& right) {
                         return left.m_nLine < right.m_nLine;
                     });
    return std::move(m_messages);
}

void Report::Add(KxTSDMessage message)
{
    // What is grave must not be lost behind warnings: it takes the last place if need be.
    if (m_messages.size() == kMaxMessages && Weight(message) > Weight(m_messages.back()))
        m_messages.pop_back();
    if (HasRoom())
        m_messages.push_back(std::move(message));
}

std::string Printable(std::string_view text)
{
    std::size_t length = text.size();
    if (length > kMaxPrintable) {
        length = kMaxPrintable;
        while (length > 0 && IsContinuation(text[length]))
            --length;
    }
    std::string result(text.substr(0, length));
    for (char& byte : result)
        byte = IsControl(byte) ? '?' : byte;
    return length < text.size() ? result + "..." : result;
}

} // namespace KxC
