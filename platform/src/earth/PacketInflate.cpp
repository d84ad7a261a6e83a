// SPDX-License-Identifier: MIT
#include "PacketInflate.h"

#include "Cipher.h"
#include "EarthErrors.h"

#include <libdeflate.h>

#include <new>

namespace KxC::Earth {

namespace {

constexpr std::size_t kHeaderBytes = 8;
constexpr std::uint32_t kMagic = 0x7468DEAD;
constexpr std::uint32_t kSwappedMagic = 0xADDE6874;
/// Deflate cannot do better than this, so a greater size is a lie told without the bytes for it.
constexpr std::size_t kMaxRatio = 1032;

struct FreeDecompressor
{
    void operator()(libdeflate_decompressor* inflater) const
    {
        libdeflate_free_decompressor(inflater);
    }
};

std::size_t StatedSize(ByteView packet)
{
    const std::uint32_t size = ReadU32(packet, 4);
    return ReadU32(packet, 0) == kMagic ? size : __builtin_bswap32(size);
}

} // namespace

bool IsCompressedPacket(ByteView packet)
{
    if (packet.size() < kHeaderBytes)
        return false;
    const std::uint32_t magic = ReadU32(packet, 0);
    return magic == kMagic || magic == kSwappedMagic;
}

OwnedBytes InflatePacket(ByteView packet)
{
    if (!IsCompressedPacket(packet))
        throw DamagedAnswer("a packet does not begin as one: damaged, or another key's");
    const ByteView stream = packet.subspan(kHeaderBytes);
    const std::size_t size = StatedSize(packet);
    if (size > kMaxInflatedBytes || size / kMaxRatio > stream.size())
        throw DamagedAnswer("a packet states an impossible size");
    const std::unique_ptr<libdeflate_decompressor, FreeDecompressor> inflater(
        libdeflate_alloc_decompressor());
    if (inflater == nullptr)
        throw std::bad_alloc();
    // One byte more than nothing: the library wants an address for an empty output too.
    OwnedBytes inflated{std::make_unique_for_overwrite<unsigned char[]>(size + 1), size};
    const libdeflate_result result = libdeflate_zlib_decompress(
        inflater.get(), stream.data(), stream.size(), inflated.m_bytes.get(), size, nullptr);
    if (result != LIBDEFLATE_SUCCESS)
        throw DamagedAnswer("a packet does not inflate to the size that it states");
    return inflated;
}

OwnedBytes OpenPacket(std::span<unsigned char> packet, ByteView key)
{
    if (!IsCompressedPacket(packet))
        ApplyKey(packet, key);
    return InflatePacket(packet);
}

} // namespace KxC::Earth
