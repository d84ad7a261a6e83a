// SPDX-License-Identifier: MIT
#include "Deflate.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <limits>

namespace KxC::Imaging {

namespace {

// Measured in docs/decisions/0001-tile-encoders.md.
constexpr std::uint32_t kTileLevel = 1;
constexpr std::size_t kTileLevelBuffer = ISAL_DEF_LVL1_LARGE;
constexpr int kKeepLevel = 5;
/// Where the quick encoder fails.
constexpr int kFallbackLevel = 1;

constexpr std::size_t kStoredBlock = 65535;
constexpr std::size_t kStoredBlockOverhead = 5;
constexpr std::size_t kStreamOverhead =
    64; ///< zlib header and trailer, and slack for the last bits

struct FreeCompressor
{
    void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};

std::size_t CompressOtherwise(ByteSpan bytes, std::span<unsigned char> out)
{
    const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(
        libdeflate_alloc_compressor(kFallbackLevel));
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

std::size_t ZlibCompress(ByteSpan bytes, std::span<unsigned char> out)
{
    const std::size_t length = CompressFast(bytes, out);
    return length > 0 ? length : CompressOtherwise(bytes, out);
}

std::uint32_t Crc32(ByteSpan bytes)
{
    return crc32_gzip_refl(0, bytes.data(), bytes.size());
}

struct ZlibStream::State
{
    z_stream m_stream = {};
    int m_flush = Z_NO_FLUSH;
    ByteSpan m_rest; ///< what the stream, which counts in 32 bits, has not been given yet
    std::array<unsigned char, 65536> m_out;
};

ZlibStream::ZlibStream() : m_state(std::make_unique<State>())
{
    m_failed = deflateInit(&m_state->m_stream, kKeepLevel) != Z_OK;
}

ZlibStream::~ZlibStream()
{
    deflateEnd(&m_state->m_stream); // also of one that was not begun
}

void ZlibStream::Begin(ByteSpan bytes, bool isEnd)
{
    m_state->m_rest = bytes;
    m_state->m_flush = isEnd ? Z_FINISH : Z_NO_FLUSH;
}

ByteSpan ZlibStream::Next(bool& goesOn)
{
    constexpr std::size_t kMost = 1U << 30;
    State& state = *m_state;
    z_stream& stream = state.m_stream;
    const ByteSpan in = state.m_rest.first(std::min(state.m_rest.size(), kMost));
    const bool isLast = in.size() == state.m_rest.size();
    // The interface takes its input without const; it only reads it.
    stream.next_in = const_cast<unsigned char*>(in.data());
    stream.avail_in = static_cast<unsigned int>(in.size());
    stream.next_out = state.m_out.data();
    stream.avail_out = static_cast<unsigned int>(state.m_out.size());
    const int result =
        m_failed ? Z_STREAM_ERROR : deflate(&stream, isLast ? state.m_flush : Z_NO_FLUSH);
    m_failed = m_failed || result == Z_STREAM_ERROR;
    state.m_rest = state.m_rest.subspan(in.size() - stream.avail_in);
    const std::size_t made = state.m_out.size() - stream.avail_out;
    // A full piece may have been cut off.
    goesOn =
        !m_failed && result != Z_STREAM_END && (stream.avail_out == 0 || !state.m_rest.empty());
    return ByteSpan(state.m_out).first(made);
}

} // namespace KxC::Imaging
