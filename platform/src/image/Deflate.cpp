// SPDX-License-Identifier: MIT
#include "Deflate.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <libdeflate.h>

#include <algorithm>
#include <limits>

namespace KxC::Imaging {

namespace {

// Measured in docs/decisions/0001-tile-encoders.md.
constexpr std::uint32_t kTileLevel = 1;
constexpr std::size_t kTileLevelBuffer = ISAL_DEF_LVL1_LARGE;
constexpr int kKeepLevel = 6;

constexpr std::size_t kStoredBlock = 65535;
constexpr std::size_t kStoredBlockOverhead = 5;
constexpr std::size_t kStreamOverhead =
    64; ///< zlib header and trailer, and slack for the last bits

struct FreeCompressor
{
    void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};

std::size_t CompressSmall(ByteSpan bytes, std::span<unsigned char> out)
{
    const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(
        libdeflate_alloc_compressor(kKeepLevel));
    if (compressor == nullptr)
        return 0;
    return libdeflate_zlib_compress(
        compressor.get(), bytes.data(), bytes.size(), out.data(), out.size());
}

std::size_t CompressFast(ByteSpan bytes, std::span<unsigned char> out)
{
    constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();
    const MallocBytes levelBuffer = AllocateBytes(kTileLevelBuffer);
    if (levelBuffer == nullptr || bytes.size() > kMost)
        return 0;
    // Tens of kilobytes, of which init sets what is read: zeroing them would cost every tile.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
    isal_zstream stream;
    isal_deflate_stateless_init(&stream);
    stream.level = kTileLevel;
    stream.level_buf = levelBuffer.get();
    stream.level_buf_size = static_cast<std::uint32_t>(kTileLevelBuffer);
    stream.gzip_flag = IGZIP_ZLIB;
    stream.end_of_stream = 1;
    stream.flush = NO_FLUSH;
    // The interface takes its input without const; it only reads it.
    stream.next_in = const_cast<unsigned char*>(bytes.data());
    stream.avail_in = static_cast<std::uint32_t>(bytes.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<std::uint32_t>(std::min(out.size(), kMost));
    return isal_deflate_stateless(&stream) == COMP_OK ? stream.total_out : 0;
}

} // namespace

std::size_t ZlibBound(std::size_t count)
{
    return count + (count / kStoredBlock + 1) * kStoredBlockOverhead + kStreamOverhead;
}

std::size_t ZlibCompress(ByteSpan bytes, std::span<unsigned char> out, Purpose purpose)
{
    const std::size_t length = purpose == Purpose::Tile ? CompressFast(bytes, out) : 0;
    return length > 0 ? length : CompressSmall(bytes, out);
}

std::uint32_t Crc32(ByteSpan bytes)
{
    return crc32_gzip_refl(0, bytes.data(), bytes.size());
}

} // namespace KxC::Imaging
