// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

namespace KxC {

/// Format codes of KxImageData; alpha is not premultiplied.
enum KxPixelFormat : int {
    KxPixelFormat_RGB = 20,  ///< 3 bytes a pixel: R, G, B
    KxPixelFormat_RGBA = 21, ///< 4 bytes a pixel: R, G, B, A
};

/// A picture in memory. Row 0 is the south edge; column 0 the west edge.
/// Threads: separate objects are independent; const use of one object may be shared.
class KXCOMMON_API KxImageData
{
public:
    /// Of pictures from outside, which decoders are asked for, and of tiles.
    static constexpr int kMaxSide = 16384;            ///< pixels
    static constexpr long long kMaxPixels = 64000000; ///< pixels in all
    /// Of any picture: what a signed count of 32 bits can hold, just below 2 GiB.
    static constexpr long long kMaxBytes = 2147483647;

    /// A zero-filled picture: black, or transparent with alpha.
    /// @param width, height  pixels, 1 or more; height x bytes a row is at most kMaxBytes
    /// @param formatCode     KxPixelFormat
    /// @param rowBytes       bytes from one row to the next, 0 for width x bytes a pixel
    /// Arguments outside these ranges, or no memory, give a picture of 0 x 0 with null data.
    KxImageData(int width, int height, int formatCode, int rowBytes = 0);
    ~KxImageData();
    KxImageData(const KxImageData&) = delete;
    KxImageData& operator=(const KxImageData&) = delete;

    int GetWidth() const;
    int GetHeight() const;
    int GetRowBytes() const;
    /// Bytes a pixel: 3 or 4.
    int GetPixelSize() const;
    /// First byte of row 0, the south edge.
    unsigned char* GetData();
    const unsigned char* GetData() const;

    /// Samples the picture at a fractional position, by the rule that SetBilinear chose.
    /// @param u, v       position from the west and the south edge, [0, 1); outside is clamped
    /// @param pixel      receives `pixelSize` bytes
    /// @param pixelSize  3 or 4; a picture without alpha answers 4 with alpha 255
    /// @return 0 when nothing was written (no picture, other pixel size, u or v not a number)
    unsigned char GetValue2(double u, double v, unsigned char* pixel, int pixelSize) const;

    /// Writes one pixel of this picture's own pixel size.
    /// @return 0 when row, column or pixelSize do not fit
    unsigned char SetValue(int row, int column, const unsigned char* pixel, int pixelSize);

    /// Makes a picture without alpha one with alpha, in place. Pointers to its pixels are no longer
    /// valid.
    /// @param opaqueRows  rows from the south that become opaque; those above become transparent
    /// @return 0 when it would exceed kMaxBytes or there is no memory; it is then as it was
    unsigned char AddAlpha(int opaqueRows);

    /// Makes a picture with alpha one without, in place; its rows then take whole 4-byte words.
    /// Pointers to its pixels are no longer valid.
    void DropAlpha();

    /// Chooses the sampling rule of GetValue2 for the whole process.
    /// Off (the start): the pixel floor(u x width), floor(v x height).
    /// On: between the four pixels around u x (width - 1), v x (height - 1); with alpha, colours
    /// count as much as they are opaque. Any thread.
    static void SetBilinear(bool on);
    static bool IsBilinear();

    /// Bytes of a row of `bits` bits, rounded up to whole 4-byte words. 0 for a negative count or
    /// one whose result does not fit.
    static int GetAlignWidth4Bytes(int bits);

private:
    void SampleNearest(double u, double v, unsigned char* pixel, int pixelSize) const;
    void SampleBilinear(double u, double v, unsigned char* pixel, int pixelSize) const;

    int m_nWidth;
    int m_nHeight;
    int m_nRowBytes;
    int m_nPixelSize;
    unsigned char* m_pData;
};

} // namespace KxC
