// SPDX-License-Identifier: MIT
#include "Cipher.h"

#include <cstring>

namespace KxC::Earth {

namespace {

constexpr std::size_t kWord = 8;
constexpr std::size_t kStep = 3 * kWord; // from one key word to the next within a pass
constexpr std::size_t kFirstPass = 2 * kWord;
constexpr std::size_t kMaxKeyBytes = 64U << 10;

/// The order in which key words are used: every third one, in passes that begin at the third, the
/// first and the second word by turns.
class KeyWords
{
public:
    explicit KeyWords(ByteView key) : m_key(key) {}

    const unsigned char* Next()
    {
        if (m_offset >= m_key.size()) {
            m_pass = (m_pass + kWord) % kStep;
            m_offset = m_pass;
        }
        const unsigned char* const word = m_key.data() + m_offset;
        m_offset += kStep;
        return word;
    }

private:
    ByteView m_key;
    std::size_t m_pass = kFirstPass;
    std::size_t m_offset = kFirstPass;
};

void XorBytes(std::span<unsigned char> data, const unsigned char* key)
{
    for (unsigned char& byte : data)
        byte = static_cast<unsigned char>(byte ^ *key++);
}

void XorWord(unsigned char* data, const unsigned char* key)
{
    std::uint64_t word = 0;
    std::uint64_t keyWord = 0;
    std::memcpy(&word, data, kWord);
    std::memcpy(&keyWord, key, kWord);
    word ^= keyWord;
    std::memcpy(data, &word, kWord);
}

} // namespace

bool IsUsableKey(ByteView key)
{
    return key.size() >= kStep && key.size() <= kMaxKeyBytes && key.size() % kWord == 0;
}

void ApplyKey(std::span<unsigned char> data, ByteView key)
{
    // What is shorter than a word starts at the key's beginning.
    if (data.size() < kWord)
        return XorBytes(data, key.data());
    KeyWords words(key);
    std::size_t at = 0;
    for (; at + kWord <= data.size(); at += kWord)
        XorWord(data.data() + at, words.Next());
    if (at < data.size())
        XorBytes(data.subspan(at), words.Next());
}

} // namespace KxC::Earth
