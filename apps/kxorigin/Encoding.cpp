// SPDX-License-Identifier: MIT
#include "Encoding.h"

#include <KxImgUtility.h>
#include <libdeflate.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace KxOrigin {

namespace {

constexpr std::size_t kPngHeaderEnd = 8 + 4 + 4 + 13 + 4; ///< signature and IHDR chunk

/// Rows from the south, three bytes a pixel, as the encoder wants them.
Bytes ToEncoderRows(const Pixels& pixels)
{
    Bytes rows;
    rows.reserve(pixels.data.size() * 3);
    for (int row = pixels.height - 1; row >= 0; --row) {
        for (int column = 0; column < pixels.width; ++column) {
            const Colour& colour = pixels.At(column, row);
            rows.insert(rows.end(), {colour.red, colour.green, colour.blue});
        }
    }
    return rows;
}

const char* ExtensionOf(Format format)
{
    switch (format) {
    case Format::Jpeg:
        return ".jpeg";
    case Format::WebP:
        return ".webp";
    case Format::Png:
        break;
    }
    return ".png";
}

void AppendBigEndian(Bytes& bytes, std::uint32_t value)
{
    for (const int shift : {24, 16, 8, 0})
        bytes.push_back(static_cast<unsigned char>(value >> shift & 0xFF));
}

Bytes ZeroChunk(std::size_t length)
{
    Bytes chunk;
    AppendBigEndian(chunk, static_cast<std::uint32_t>(length));
    // Lower case first: readers that do not know the chunk pass it over.
    for (const char letter : {'k', 'x', 'P', 'd'})
        chunk.push_back(static_cast<unsigned char>(letter));
    chunk.resize(chunk.size() + length);
    AppendBigEndian(chunk, libdeflate_crc32(0, chunk.data() + 4, length + 4));
    return chunk;
}

} // namespace

std::string ContentTypeOf(Format format)
{
    return std::string("image/") + (ExtensionOf(format) + 1);
}

Bytes Encode(const Pixels& pixels, Format format)
{
    const Bytes rows = ToEncoderRows(pixels);
    unsigned char* data = nullptr;
    unsigned int size = 0;
    const bool saved =
        KxC::KxImgUtility::SaveImageToMemory(
            rows.data(), pixels.width, pixels.height, 24, data, size, ExtensionOf(format), 0) == 1;
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(data, &std::free);
    if (!saved || data == nullptr)
        throw std::runtime_error("the tile does not encode");
    return {data, data + size};
}

Bytes GZip(const Bytes& content, int level)
{
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(level), &libdeflate_free_compressor);
    if (!compressor)
        throw std::runtime_error("no memory to pack the tile");
    Bytes packed(libdeflate_gzip_compress_bound(compressor.get(), content.size()));
    packed.resize(libdeflate_gzip_compress(
        compressor.get(), content.data(), content.size(), packed.data(), packed.size()));
    if (packed.empty())
        throw std::runtime_error("the tile does not pack");
    return packed;
}

Bytes GZipWithinHalf(const Bytes& content)
{
    Bytes packed = GZip(content, 6);
    if (packed.size() * 2 < content.size())
        return GZip(content, 0);
    return packed;
}

Bytes PadPng(const Bytes& png)
{
    if (png.size() < kPngHeaderEnd)
        throw std::runtime_error("not a whole PNG");
    const Bytes chunk = ZeroChunk(png.size() * 4);
    Bytes padded(png);
    padded.insert(padded.begin() + kPngHeaderEnd, chunk.begin(), chunk.end());
    return padded;
}

} // namespace KxOrigin
