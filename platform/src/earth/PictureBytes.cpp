// SPDX-License-Identifier: MIT
#include "PictureBytes.h"

#include "EarthErrors.h"
#include "KxImgUtility.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

namespace KxC::Earth {

namespace {

constexpr int kAlphaPixelBytes = 4;

std::unique_ptr<KxImageData> Decode(ByteView bytes)
{
    // Decoders fill up what is missing; a cut-off picture must not look like a whole one.
    if (!IsWholePicture(bytes))
        throw DamagedAnswer("an image is not whole");
    std::unique_ptr<KxImageData> image(KxImgUtility::LoadImageData(
        bytes.data(), static_cast<unsigned int>(bytes.size()), "", 1, 1));
    if (image == nullptr)
        throw DamagedAnswer("an image does not decode");
    return image;
}

/// Pixels to be encoded, rows from the south without padding.
struct Pixels
{
    int m_width;
    int m_height;
    int m_pixelBytes;
    std::vector<unsigned char> m_bytes{};

    Pixels(int width, int height, int pixelBytes)
        : m_width(width), m_height(height), m_pixelBytes(pixelBytes),
          m_bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                  static_cast<std::size_t>(pixelBytes))
    {
    }
};

const unsigned char* PixelAt(const KxImageData& image, int row, int col)
{
    return image.GetData() + static_cast<std::ptrdiff_t>(row) * image.GetRowBytes() +
           static_cast<std::ptrdiff_t>(col) * image.GetPixelSize();
}

void Encode(KxRawData& out, const Pixels& pixels)
{
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    if (KxImgUtility::SaveImageToMemory(pixels.m_bytes.data(),
                                        pixels.m_width,
                                        pixels.m_height,
                                        8 * pixels.m_pixelBytes,
                                        bytes,
                                        size,
                                        ".png",
                                        0) == 0)
        throw std::bad_alloc(); // sound pixels fail to encode for no other reason
    out.Attach(bytes, size);
}

/// Writes colours and alpha of every pixel behind each other.
void MergeRows(Pixels& merged, const KxImageData& image, const KxImageData& alpha)
{
    const int alphaChannel = alpha.GetPixelSize() == kAlphaPixelBytes ? 3 : 0;
    unsigned char* out = merged.m_bytes.data();
    for (int row = 0; row < merged.m_height; ++row)
        for (int col = 0; col < merged.m_width; ++col) {
            out = std::copy_n(PixelAt(image, row, col), 3, out);
            *out++ = PixelAt(alpha, row, col)[alphaChannel];
        }
}

/// The place of the source pixel for each of `size` pixels of a part.
std::vector<int> PartPlaces(int size, int part, int levels)
{
    std::vector<int> places(static_cast<std::size_t>(size));
    std::int64_t place = static_cast<std::int64_t>(part) * size;
    for (int& source : places)
        source = static_cast<int>(place++ >> levels);
    return places;
}

} // namespace

bool IsPicture(ByteView bytes)
{
    const KxString ext =
        KxImgUtility::TellImgExt(bytes.data(), static_cast<unsigned int>(bytes.size()));
    return ext == ".jpeg" || ext == ".png";
}

bool IsWholePicture(ByteView bytes)
{
    const auto size = static_cast<unsigned int>(bytes.size());
    return KxImgUtility::IsCompletedImage(bytes.data(), size, "") != 0;
}

void JoinAlpha(KxRawData& out, ByteView picture, ByteView alpha)
{
    const std::unique_ptr<KxImageData> colours = Decode(picture);
    const std::unique_ptr<KxImageData> opacity = Decode(alpha);
    if (colours->GetWidth() != opacity->GetWidth() || colours->GetHeight() != opacity->GetHeight())
        throw DamagedAnswer("an image and its alpha differ in size");
    Pixels merged(colours->GetWidth(), colours->GetHeight(), kAlphaPixelBytes);
    MergeRows(merged, *colours, *opacity);
    Encode(out, merged);
}

void CutPart(KxRawData& picture, int levels, int row, int col)
{
    const std::unique_ptr<KxImageData> whole = Decode({picture.GetData(), picture.GetSize()});
    Pixels part(whole->GetWidth(), whole->GetHeight(), whole->GetPixelSize());
    const std::vector<int> rows = PartPlaces(part.m_height, row, levels);
    const std::vector<int> cols = PartPlaces(part.m_width, col, levels);
    unsigned char* out = part.m_bytes.data();
    for (const int sourceRow : rows)
        for (const int sourceCol : cols)
            out = std::copy_n(PixelAt(*whole, sourceRow, sourceCol), part.m_pixelBytes, out);
    Encode(picture, part);
}

} // namespace KxC::Earth
