// SPDX-License-Identifier: MIT
#pragma once

// What the image area's files share. Codecs take rows from the north, pictures hold them from the
// south: each codec flips while it reads or writes, so that no picture is ever copied for it.

#include "KxImageData.h"
#include "KxString.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <span>

namespace KxC::Imaging {

using ByteSpan = std::span<const unsigned char>;

enum class Format { Unknown, Png, Jpeg, Webp, Gif, Tiff };

/// What an encoder aims at: tiles are made by the thousand and thrown away, files are kept.
enum class Purpose { Tile, Keep };

struct FreeBytes
{
    void operator()(unsigned char* bytes) const { std::free(bytes); }
};
using MallocBytes = std::unique_ptr<unsigned char, FreeBytes>;

/// `malloc` memory of at least one byte; null when there is none.
inline MallocBytes AllocateBytes(std::size_t count)
{
    return MallocBytes(static_cast<unsigned char*>(std::malloc(count == 0 ? 1 : count)));
}

/// Encoded bytes on their way to the caller; null when encoding failed.
struct Encoded
{
    MallocBytes bytes;
    std::size_t size = 0;
};

/// Gives back what an encoder's upper bound took too much.
void ShrinkToSize(Encoded& encoded);

/// A picture to encode; rows as KxImageData holds them.
struct PixelRows
{
    const unsigned char* southRow;
    std::size_t rowBytes;
    int width;
    int height;
    int pixelSize; ///< 3 or 4

    /// Bytes of a row's pixels, without padding.
    std::size_t PixelBytes() const
    {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(pixelSize);
    }

    /// @param row  counted from the north edge, [0, height)
    const unsigned char* RowFromNorth(int row) const
    {
        return southRow + static_cast<std::size_t>(height - 1 - row) * rowBytes;
    }
};

/// Format by signature; never Tiff, which is only written.
Format TellFormat(ByteSpan bytes);
/// Format of an extension with or without its dot, in any case.
Format FormatOfExtension(const KxString& extension);

/// Whether the bytes hold one whole file of the format, by its structure alone. Bytes after its
/// end are allowed: servers append them.
bool IsComplete(Format format, ByteSpan bytes);
bool IsCompleteJpeg(ByteSpan bytes);

/// Whether a picture from outside, or a tile, lies within its limits.
constexpr bool IsSizeAllowed(long long width, long long height)
{
    return width >= 1 && height >= 1 && width <= KxImageData::kMaxSide &&
           height <= KxImageData::kMaxSide && width * height <= KxImageData::kMaxPixels;
}

/// A picture of these pixels, null when beyond the limits of those from outside or out of memory.
std::unique_ptr<KxImageData> NewPicture(long long width, long long height, bool alpha);
/// First byte of a picture's row counted from the north edge.
unsigned char* RowFromNorth(KxImageData& picture, int row);

/// Decoders: null when the bytes do not decode.
std::unique_ptr<KxImageData> DecodePng(ByteSpan bytes);
std::unique_ptr<KxImageData> DecodeJpeg(ByteSpan bytes);
std::unique_ptr<KxImageData> DecodeWebp(ByteSpan bytes);
std::unique_ptr<KxImageData> DecodeGif(ByteSpan bytes);

class ByteSink;

/// Encoders of tiles, in memory; null on failure.
Encoded EncodePng(const PixelRows& rows);
Encoded EncodeTiff(const PixelRows& rows);
/// Encoders of both; null on failure.
Encoded EncodeJpeg(const PixelRows& rows, Purpose purpose);
Encoded EncodeWebp(const PixelRows& rows, Purpose purpose);
/// Encoders of files, which give their bytes away as they are made: beside the picture they need
/// memory for a few of its rows only.
/// @return false when the sink gave up
bool WritePng(const PixelRows& rows, ByteSink& sink);
bool WriteTiff(const PixelRows& rows, ByteSink& sink);

} // namespace KxC::Imaging
