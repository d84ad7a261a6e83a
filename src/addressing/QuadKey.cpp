// SPDX-License-Identifier: MIT
#include "KxTileFetcher.h"

#include <exception>
#include <string>

namespace KxC {

namespace {

/// Far beyond any level; a host's wrong number shall not take the memory of the process.
constexpr int kMaxDigits = 1 << 20;

/// The bit of weight 2^position, 0 for positions that 32 bits do not have.
unsigned BitAt(int position)
{
    return position < 32 ? 1U << static_cast<unsigned>(position) : 0U;
}

} // namespace

KxString KxTileFetcher::BingMapTileToQuadKey(int y, int x, int z)
try {
    if (z <= 0 || z > kMaxDigits)
        return {};
    std::string key;
    key.reserve(static_cast<std::size_t>(z));
    for (int position = z - 1; position >= 0; --position) {
        const unsigned bit = BitAt(position);
        const int digit = ((static_cast<unsigned>(x) & bit) != 0 ? 1 : 0) +
                          ((static_cast<unsigned>(y) & bit) != 0 ? 2 : 0);
        key += static_cast<char>('0' + digit);
    }
    return {key.data(), static_cast<int>(key.size())};
} catch (const std::exception&) {
    return {}; // no memory
}

void KxTileFetcher::BingMapQuadKeyToTile(const KxString& quadKey, int& y, int& x, int& z)
{
    const int length = quadKey.GetLength();
    unsigned column = 0;
    unsigned row = 0;
    for (int k = 0; k < length; ++k) {
        const char digit = quadKey[k];
        const unsigned bit = BitAt(length - 1 - k);
        if (digit == '1' || digit == '3')
            column |= bit;
        if (digit == '2' || digit == '3')
            row |= bit;
    }
    y = static_cast<int>(row);
    x = static_cast<int>(column);
    z = length;
}

} // namespace KxC
