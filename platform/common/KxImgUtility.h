// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxImageData.h"
#include "KxString.h"

namespace KxC {

/// Image formats: telling, checking, decoding, encoding. All operations are safe on any thread and
/// on any bytes; pictures from outside, and tiles, beyond KxImageData's limits for these are
/// refused before memory is taken.
class KXCOMMON_API KxImgUtility
{
public:
    /// Format of encoded bytes by their signature.
    /// @return ".png", ".jpeg", ".webp" or ".gif"; empty when unknown
    static KxString TellImgExt(const unsigned char* bytes, unsigned int size);

    /// Whether the bytes are one whole PNG, JPEG, WebP or GIF: not cut off anywhere, and not some
    /// other document (an HTML or XML error page). Walks the file's structure without decoding, and
    /// tests a PNG's checksums; bytes after the end are allowed.
    /// @param formatHint  expected extension with or without its dot, in any case; bytes of another
    ///                    format are not complete. Empty leaves the format to the signature
    static unsigned char
    IsCompletedImage(const unsigned char* bytes, unsigned int size, const KxString& formatHint);

    /// Decodes PNG, JPEG, WebP and GIF (its first frame) to 8 bits a channel: RGBA where the file
    /// has transparency, else RGB; grey and palette are expanded, inks converted. An animated WebP
    /// does not decode.
    /// @param formatHint  as for IsCompletedImage; bytes of another format do not decode
    /// @param option1, option2  kept for callers' sake; every value means the same
    /// @return a new picture owned by the caller, null when the bytes do not decode
    static KxImageData* LoadImageData(const unsigned char* bytes,
                                      unsigned int size,
                                      const KxString& formatHint,
                                      int option1,
                                      int option2);

    /// Encodes pixels to memory, fast and small enough for tiles.
    /// @param pixels        rows from the south, width x bytes a pixel each, no padding
    /// @param bitsPerPixel  24 or 32
    /// @param data, size    receive `malloc` memory owned by the caller; null and 0 on failure
    /// @param ext           ".png", ".jpeg" or ".jpg", ".webp", ".tif" or ".tiff", any case, with
    ///                      or without the dot. PNG and TIFF are exact and keep the alpha channel;
    ///                      JPEG and WebP are lossy, JPEG drops alpha, WebP keeps it exactly
    /// @param option        0
    /// @return 1 on success
    static unsigned char SaveImageToMemory(const unsigned char* pixels,
                                           int width,
                                           int height,
                                           int bitsPerPixel,
                                           unsigned char*& data,
                                           unsigned int& size,
                                           const KxString& ext,
                                           int option);

    /// Writes a picture to a file in the format of its extension (as SaveImageToMemory), with
    /// settings for files meant to be kept. The file appears under its name only when whole. PNG
    /// and TIFF are written as they are encoded, with memory for a few rows beside the picture;
    /// JPEG and WebP, and whatever goes into a pipe or a device, are encoded in memory first. JPEG
    /// has no more than 65500 pixels a side, WebP 16383.
    /// @param option  0
    /// @return 1 on success
    static unsigned char SaveImageFile(const KxImageData* image, const KxString& path, int option);
};

} // namespace KxC
