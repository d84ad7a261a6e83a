// SPDX-License-Identifier: MIT
// Mends the checksums of a PNG after most mutations: without it nearly every input would end at the
// first chunk that was touched.
#include "FuzzTarget.h"

#include <zlib.h>

#include <algorithm>
#include <array>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t size, std::size_t maxSize);

namespace {

constexpr std::array<std::uint8_t, 8> kSignature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

std::uint32_t ReadBigEndian(const std::uint8_t* bytes)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8U | bytes[i];
    return value;
}

void WriteBigEndian(std::uint8_t* bytes, std::uint32_t value)
{
    for (std::size_t i = 0; i < 4; ++i)
        bytes[i] = static_cast<std::uint8_t>(value >> (24U - 8U * i));
}

void MendChecksums(std::uint8_t* bytes, std::size_t size)
{
    if (size < kSignature.size() || !std::equal(kSignature.begin(), kSignature.end(), bytes))
        return;
    constexpr std::size_t kAround = 12; // length, name, checksum
    for (std::size_t at = kSignature.size(); size - at >= kAround;) {
        const std::size_t length = ReadBigEndian(bytes + at);
        if (length > size - at - kAround)
            return;
        const auto checksum = ::crc32(0, bytes + at + 4, static_cast<unsigned>(length + 4));
        WriteBigEndian(bytes + at + 8 + length, static_cast<std::uint32_t>(checksum));
        at += length + kAround;
    }
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes,
                                               std::size_t size,
                                               std::size_t maxSize,
                                               unsigned int seed)
{
    const std::size_t mutated = LLVMFuzzerMutate(bytes, size, maxSize);
    if (seed % 8 != 0)
        MendChecksums(bytes, mutated);
    return mutated;
}
