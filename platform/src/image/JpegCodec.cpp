// SPDX-License-Identifier: MIT
#include "ImageCodecs.h"

#include <turbojpeg.h>

#include <algorithm>
#include <string_view>
#include <type_traits>
#include <utility>

namespace KxC::Imaging {

namespace {

// Measured in docs/decisions/0001-tile-encoders.md.
constexpr int kTileQuality = 85;
constexpr int kKeepQuality = 92;

struct DestroyHandle
{
    void operator()(void* handle) const { tjDestroy(handle); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<tjhandle>, DestroyHandle>;

struct Header
{
    int width = 0;
    int height = 0;
    int colourSpace = -1;
};

Header ReadHeader(tjhandle handle, ByteSpan bytes)
{
    Header header;
    int subsampling = -1;
    // The result says failure, too, for a subsampling that has no name here but decodes well; what
    // counts is whether a size was found.
    static_cast<void>(tjDecompressHeader3(handle,
                                          bytes.data(),
                                          bytes.size(),
                                          &header.width,
                                          &header.height,
                                          &subsampling,
                                          &header.colourSpace));
    return header;
}

/// Decodes into rows that start at the north edge, or from the south with TJFLAG_BOTTOMUP.
bool Decompress(tjhandle handle,
                ByteSpan bytes,
                const Header& header,
                unsigned char* out,
                int format,
                int flags)
{
    // LIMITSCANS: a progressive file can repeat its scans for minutes of work.
    const int result = tjDecompress2(handle,
                                     bytes.data(),
                                     bytes.size(),
                                     out,
                                     header.width,
                                     0,
                                     header.height,
                                     format,
                                     flags | TJFLAG_LIMITSCANS);
    // A warning (stray bytes before a marker) is common and harmless in a file that is whole; in
    // one that is cut off it stands for missing pixels.
    return result == 0 || (tjGetErrorCode(handle) == TJERR_WARNING && IsCompleteJpeg(bytes));
}

/// Files of the Adobe programs hold inks inverted and say so by this segment.
bool HasAdobeSegment(ByteSpan bytes)
{
    static constexpr std::string_view kAdobe("\xFF\xEE\x00\x0E"
                                             "Adobe",
                                             9);
    const auto sameByte = [](unsigned char found, char wanted) {
        return found == static_cast<unsigned char>(wanted);
    };
    return std::search(bytes.begin(), bytes.end(), kAdobe.begin(), kAdobe.end(), sameByte) !=
           bytes.end();
}

/// 8-bit product of two shares of 255, rounded.
unsigned char MultiplyShares(unsigned int a, unsigned int b)
{
    return static_cast<unsigned char>((a * b + 127) / 255);
}

void ConvertInkRow(const unsigned char* inks, unsigned int mask, int width, unsigned char* out)
{
    for (int column = 0; column < width; ++column, inks += 4, out += 3)
        for (int channel = 0; channel < 3; ++channel)
            out[channel] = MultiplyShares(inks[channel] ^ mask, inks[3] ^ mask);
}

/// CMYK needs a buffer of its own: four bytes of ink become three of colour.
bool DecompressInks(tjhandle handle, ByteSpan bytes, const Header& header, KxImageData& picture)
{
    const std::size_t rowSize = static_cast<std::size_t>(header.width) * 4;
    const MallocBytes inks = AllocateBytes(rowSize * static_cast<std::size_t>(header.height));
    if (inks == nullptr || !Decompress(handle, bytes, header, inks.get(), TJPF_CMYK, 0))
        return false;
    const unsigned int mask = HasAdobeSegment(bytes) ? 0 : 0xFF;
    for (int row = 0; row < header.height; ++row)
        ConvertInkRow(inks.get() + static_cast<std::size_t>(row) * rowSize,
                      mask,
                      header.width,
                      RowFromNorth(picture, row));
    return true;
}

bool IsInks(const Header& header)
{
    return header.colourSpace == TJCS_CMYK || header.colourSpace == TJCS_YCCK;
}

} // namespace

std::unique_ptr<KxImageData> DecodeJpeg(ByteSpan bytes)
{
    const Handle handle(tjInitDecompress());
    if (handle == nullptr)
        return nullptr;
    const Header header = ReadHeader(handle.get(), bytes);
    auto picture = NewPicture(header.width, header.height, false);
    if (picture == nullptr)
        return nullptr;
    const bool decoded =
        IsInks(header)
            ? DecompressInks(handle.get(), bytes, header, *picture)
            : Decompress(
                  handle.get(), bytes, header, picture->GetData(), TJPF_RGB, TJFLAG_BOTTOMUP);
    return decoded ? std::move(picture) : nullptr;
}

Encoded EncodeJpeg(const PixelRows& rows, Purpose purpose)
{
    const bool keep = purpose == Purpose::Keep;
    const int subsampling = keep ? TJSAMP_444 : TJSAMP_420;
    const Handle handle(tjInitCompress());
    unsigned long size = tjBufSize(rows.width, rows.height, subsampling);
    Encoded encoded{AllocateBytes(size), 0};
    unsigned char* bytes = encoded.bytes.get();
    if (handle == nullptr || bytes == nullptr)
        return {};
    const int result = tjCompress2(handle.get(),
                                   rows.southRow,
                                   rows.width,
                                   static_cast<int>(rows.rowBytes),
                                   rows.height,
                                   rows.pixelSize == 4 ? TJPF_RGBX : TJPF_RGB,
                                   &bytes,
                                   &size,
                                   subsampling,
                                   keep ? kKeepQuality : kTileQuality,
                                   TJFLAG_BOTTOMUP | TJFLAG_NOREALLOC);
    if (result != 0)
        return {};
    encoded.size = size;
    ShrinkToSize(encoded);
    return encoded;
}

} // namespace KxC::Imaging
