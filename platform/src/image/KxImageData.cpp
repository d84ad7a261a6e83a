// SPDX-License-Identifier: MIT
#include "KxImageData.h"

#include "ImageCodecs.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace KxC {

namespace {

constexpr int kOpaque = 255;

std::atomic<bool> bilinear{false};

int PixelSizeOf(int formatCode)
{
    switch (formatCode) {
    case KxPixelFormat_RGB:
        return 3;
    case KxPixelFormat_RGBA:
        return 4;
    default:
        return 0;
    }
}

/// Whether a picture of these rows, 1 or more of 1 byte or more each, is within the limit.
bool AreBytesAllowed(long long rowBytes, int height)
{
    return rowBytes >= 1 && height >= 1 && rowBytes <= KxImageData::kMaxBytes / height;
}

long long WholeWords(long long bits)
{
    return (bits + 31) / 32 * 4;
}

/// Gives a row of pixels of three bytes alpha.
/// @param to  may overlap `from`, but does not lie before it
void WidenRow(const unsigned char* from, unsigned char* to, int width)
{
    for (std::ptrdiff_t column = width - 1; column >= 0; --column) {
        const unsigned char pixel[4] = {
            from[3 * column], from[3 * column + 1], from[3 * column + 2], kOpaque};
        std::memcpy(to + 4 * column, pixel, sizeof pixel);
    }
}

/// The whole number in [0, count - 1] nearest below `position`; infinities clamp too.
int ClampedFloor(double position, int count)
{
    return static_cast<int>(std::clamp(std::floor(position), 0.0, count - 1.0));
}

/// Copies one pixel between sizes 3 and 4: a missing alpha is opaque, a surplus one is dropped.
void CopyPixel(const unsigned char* from, int fromSize, unsigned char* to, int toSize)
{
    std::memcpy(to, from, static_cast<std::size_t>(std::min(fromSize, toSize)));
    if (toSize > fromSize)
        to[3] = kOpaque;
}

/// Two neighbours on one axis and the share of the second.
struct Between
{
    int first;
    int second;
    double share;
};

Between PlaceBetween(double position, int count)
{
    const double clamped = std::clamp(position, 0.0, 1.0) * (count - 1);
    const int first = ClampedFloor(clamped, count);
    return {first, std::min(first + 1, count - 1), clamped - first};
}

/// Weighted sum of four pixels, channel by channel.
struct Blend
{
    const unsigned char* pixels[4];
    double weights[4];

    double TotalWeight() const { return weights[0] + weights[1] + weights[2] + weights[3]; }

    double Sum(int channel) const
    {
        double sum = 0;
        for (int i = 0; i < 4; ++i)
            sum += weights[i] * pixels[i][channel];
        return sum;
    }
};

unsigned char Rounded(double value)
{
    return static_cast<unsigned char>(std::clamp(value + 0.5, 0.0, 255.0));
}

/// Alpha is not premultiplied, so a colour counts as much as it is seen: without this the colour
/// hidden under transparent pixels would fringe every coast line.
void WeighByAlpha(Blend& blend)
{
    Blend weighed = blend;
    for (int i = 0; i < 4; ++i)
        weighed.weights[i] *= blend.pixels[i][3];
    if (weighed.TotalWeight() > 0)
        blend = weighed;
}

void WriteColour(const Blend& blend, unsigned char* pixel)
{
    const double total = blend.TotalWeight();
    for (int channel = 0; channel < 3; ++channel)
        pixel[channel] = Rounded(blend.Sum(channel) / total);
}

} // namespace

KxImageData::KxImageData(int width, int height, int formatCode, int rowBytes)
    : m_nWidth(0), m_nHeight(0), m_nRowBytes(0), m_nPixelSize(0), m_pData(nullptr)
{
    const int pixelSize = PixelSizeOf(formatCode);
    const long long leastRowBytes = static_cast<long long>(width) * pixelSize;
    const long long wantedRowBytes = rowBytes == 0 ? leastRowBytes : rowBytes;
    if (pixelSize == 0 || width < 1 || wantedRowBytes < leastRowBytes ||
        !AreBytesAllowed(wantedRowBytes, height))
        return;
    m_pData = static_cast<unsigned char*>(
        std::calloc(static_cast<std::size_t>(height), static_cast<std::size_t>(wantedRowBytes)));
    if (m_pData == nullptr)
        return;
    m_nWidth = width;
    m_nHeight = height;
    m_nRowBytes = static_cast<int>(wantedRowBytes);
    m_nPixelSize = pixelSize;
}

KxImageData::~KxImageData()
{
    std::free(m_pData);
}

int KxImageData::GetWidth() const
{
    return m_nWidth;
}

int KxImageData::GetHeight() const
{
    return m_nHeight;
}

int KxImageData::GetRowBytes() const
{
    return m_nRowBytes;
}

int KxImageData::GetPixelSize() const
{
    return m_nPixelSize;
}

unsigned char* KxImageData::GetData()
{
    return m_pData;
}

const unsigned char* KxImageData::GetData() const
{
    return m_pData;
}

unsigned char KxImageData::GetValue2(double u, double v, unsigned char* pixel, int pixelSize) const
{
    const bool sizeKnown = pixelSize == 3 || pixelSize == 4;
    if (m_pData == nullptr || pixel == nullptr || !sizeKnown || std::isnan(u) || std::isnan(v))
        return 0;
    if (bilinear.load(std::memory_order_relaxed))
        SampleBilinear(u, v, pixel, pixelSize);
    else
        SampleNearest(u, v, pixel, pixelSize);
    return 1;
}

void KxImageData::SampleNearest(double u, double v, unsigned char* pixel, int pixelSize) const
{
    const std::ptrdiff_t row = ClampedFloor(v * m_nHeight, m_nHeight);
    const std::ptrdiff_t column = ClampedFloor(u * m_nWidth, m_nWidth);
    CopyPixel(m_pData + row * m_nRowBytes + column * m_nPixelSize, m_nPixelSize, pixel, pixelSize);
}

void KxImageData::SampleBilinear(double u, double v, unsigned char* pixel, int pixelSize) const
{
    const Between column = PlaceBetween(u, m_nWidth);
    const Between row = PlaceBetween(v, m_nHeight);
    const auto at = [this](std::ptrdiff_t r, std::ptrdiff_t c) {
        return m_pData + r * m_nRowBytes + c * m_nPixelSize;
    };
    Blend blend = {{at(row.first, column.first),
                    at(row.first, column.second),
                    at(row.second, column.first),
                    at(row.second, column.second)},
                   {(1 - row.share) * (1 - column.share),
                    (1 - row.share) * column.share,
                    row.share * (1 - column.share),
                    row.share * column.share}};
    if (pixelSize == 4)
        pixel[3] = m_nPixelSize == 4 ? Rounded(blend.Sum(3)) : kOpaque;
    if (m_nPixelSize == 4)
        WeighByAlpha(blend);
    WriteColour(blend, pixel);
}

unsigned char KxImageData::SetValue(int row, int column, const unsigned char* pixel, int pixelSize)
{
    if (row < 0 || row >= m_nHeight || column < 0 || column >= m_nWidth || pixel == nullptr ||
        pixelSize != m_nPixelSize)
        return 0;
    std::memcpy(m_pData + static_cast<std::ptrdiff_t>(row) * m_nRowBytes +
                    static_cast<std::ptrdiff_t>(column) * m_nPixelSize,
                pixel,
                static_cast<std::size_t>(pixelSize));
    return 1;
}

unsigned char KxImageData::AddAlpha(int opaqueRows)
{
    if (m_nPixelSize != 3)
        return m_nPixelSize == 4 ? 1 : 0;
    const long long rowBytes = std::max<long long>(4LL * m_nWidth, m_nRowBytes);
    if (!AreBytesAllowed(rowBytes, m_nHeight))
        return 0;
    void* const grown = std::realloc(
        m_pData, static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(m_nHeight));
    if (grown == nullptr)
        return 0;
    m_pData = static_cast<unsigned char*>(grown);
    // From the north, because rows move there: none lands on one that is still to be read.
    const std::ptrdiff_t opaque = std::clamp(opaqueRows, 0, m_nHeight);
    std::memset(m_pData + opaque * rowBytes,
                0,
                static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(m_nHeight - opaque));
    for (std::ptrdiff_t row = opaque - 1; row >= 0; --row)
        WidenRow(m_pData + row * m_nRowBytes, m_pData + row * rowBytes, m_nWidth);
    m_nRowBytes = static_cast<int>(rowBytes);
    m_nPixelSize = 4;
    return 1;
}

void KxImageData::DropAlpha()
{
    if (m_nPixelSize != 4)
        return;
    // No more than it has: a pixel's four bytes become three, and the row was whole words before.
    const auto rowBytes = static_cast<int>(WholeWords(24LL * m_nWidth));
    // No pixel moves beyond one that is still to be read.
    for (std::ptrdiff_t row = 0; row < m_nHeight; ++row) {
        const unsigned char* from = m_pData + row * m_nRowBytes;
        unsigned char* to = m_pData + row * rowBytes;
        unsigned char* const end = to + rowBytes;
        for (int column = 0; column < m_nWidth; ++column, from += 4)
            for (int channel = 0; channel < 3; ++channel)
                *to++ = from[channel];
        std::fill(to, end, static_cast<unsigned char>(0));
    }
    m_nRowBytes = rowBytes;
    m_nPixelSize = 3;
    void* const shrunk = std::realloc(
        m_pData, static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(m_nHeight));
    if (shrunk != nullptr)
        m_pData = static_cast<unsigned char*>(shrunk);
}

void KxImageData::SetBilinear(bool on)
{
    bilinear.store(on, std::memory_order_relaxed);
}

bool KxImageData::IsBilinear()
{
    return bilinear.load(std::memory_order_relaxed);
}

int KxImageData::GetAlignWidth4Bytes(int bits)
{
    if (bits < 0)
        return 0;
    return static_cast<int>(WholeWords(bits));
}

} // namespace KxC
