// SPDX-License-Identifier: MIT
#include "KxCompress.h"

#include <libdeflate.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <utility>

namespace KxC {

namespace {

struct FreeDecompressor
{
    void operator()(libdeflate_decompressor* inflater) const
    {
        libdeflate_free_decompressor(inflater);
    }
};
struct FreeCompressor
{
    void operator()(libdeflate_compressor* deflater) const { libdeflate_free_compressor(deflater); }
};
using Inflater = std::unique_ptr<libdeflate_decompressor, FreeDecompressor>;

/// Allocating one costs more than inflating a small tile: each thread keeps its own.
libdeflate_decompressor* ThreadInflater()
{
    thread_local Inflater inflater;
    if (inflater == nullptr)
        inflater.reset(libdeflate_alloc_decompressor());
    return inflater.get();
}

struct Input
{
    const unsigned char* bytes;
    std::size_t size;

    void Skip(std::size_t count)
    {
        bytes += count;
        size -= count;
    }
    /// Whether another member begins here. Anything else after a member is padding.
    bool HasMember() const { return size >= 2 && bytes[0] == 0x1F && bytes[1] == 0x8B; }
};

/// Inflates one member and moves behind it.
bool InflateMember(libdeflate_decompressor* inflater,
                   Input& input,
                   unsigned char* output,
                   std::size_t room,
                   std::size_t& written)
{
    std::size_t read = 0;
    const libdeflate_result result = libdeflate_gzip_decompress_ex(
        inflater, input.bytes, input.size, output, room, &read, &written);
    input.Skip(result == LIBDEFLATE_SUCCESS ? read : 0);
    return result == LIBDEFLATE_SUCCESS;
}

} // namespace

int KxCompress::GZipDecompress(const unsigned char* input,
                               unsigned int inputSize,
                               unsigned char* output,
                               unsigned int& outputSize)
{
    const std::size_t room = std::exchange(outputSize, 0U);
    libdeflate_decompressor* const inflater = ThreadInflater();
    if (inflater == nullptr || input == nullptr || (output == nullptr && room > 0))
        return 1;
    // A stream of no bytes fits into no room, and the library wants an address all the same.
    unsigned char nowhere = 0;
    unsigned char* const start = output == nullptr ? &nowhere : output;
    Input rest{input, inputSize};
    std::size_t total = 0;
    do {
        std::size_t written = 0;
        if (!InflateMember(inflater, rest, start + total, room - total, written))
            return 1;
        total += written;
    } while (rest.HasMember());
    outputSize = static_cast<unsigned int>(total);
    return 0;
}

bool KxCompress::GZipCompress(const std::vector<unsigned char>& input,
                              std::vector<unsigned char>& output)
try {
    constexpr int kLevel = 9; // for what is written once and read often
    const std::unique_ptr<libdeflate_compressor, FreeCompressor> deflater(
        libdeflate_alloc_compressor(kLevel));
    output.clear();
    if (deflater == nullptr)
        return false;
    output.resize(libdeflate_gzip_compress_bound(deflater.get(), input.size()));
    output.resize(libdeflate_gzip_compress(
        deflater.get(), input.data(), input.size(), output.data(), output.size()));
    return !output.empty();
} catch (const std::exception&) {
    output.clear();
    return false;
}

} // namespace KxC
