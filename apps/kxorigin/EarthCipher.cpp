// SPDX-License-Identifier: MIT
#include "EarthCipher.h"

namespace KxOrigin {

namespace {

constexpr std::size_t kWord = 8;
constexpr std::size_t kStride = 3 * kWord; ///< from one key word to the next

} // namespace

void ApplyEarthKey(std::span<const unsigned char> key, std::span<unsigned char> data)
{
    if (data.size() < kWord)
        return;
    // Every third word of the key in turn; each pass starts at another third: 16, 0, 8, 16, ...
    std::size_t start = 2 * kWord;
    std::size_t word = start;
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (i != 0 && i % kWord == 0)
            word += kStride;
        if (word >= key.size()) {
            start = (start + kWord) % kStride;
            word = start;
        }
        data[i] ^= key[word + i % kWord];
    }
}

Bytes MakeEarthKey(std::uint64_t seed)
{
    Bytes key;
    while (key.size() < kEarthKeySize) {
        // splitmix64
        seed += 0x9E3779B97F4A7C15;
        std::uint64_t mixed = seed;
        mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EB;
        key.push_back(static_cast<unsigned char>((mixed ^ mixed >> 31) >> 24 & 0xFF));
    }
    return key;
}

} // namespace KxOrigin
