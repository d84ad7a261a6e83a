// SPDX-License-Identifier: MIT
#include "serve/Transcode.h"

#include "KxImgUtility.h"

#include <algorithm>

namespace KxTileHost::Serve {

namespace {

/// What shows through where a picture has none of its own: paper, as maps lie on.
constexpr int kPaper = 255;
constexpr int kOpaque = 255;

/// A colour on the paper, rounded to the nearest.
unsigned char OnPaper(int value, int alpha)
{
    return static_cast<unsigned char>((value * alpha + kPaper * (kOpaque - alpha) + kOpaque / 2) /
                                      kOpaque);
}

/// The picture without transparency; null when there is no memory for it.
std::unique_ptr<KxC::KxImageData> OnPaper(const KxC::KxImageData& image)
{
    auto flat = std::make_unique<KxC::KxImageData>(
        image.GetWidth(), image.GetHeight(), KxC::KxPixelFormat_RGB);
    if (flat->GetData() == nullptr)
        return nullptr;
    for (int row = 0; row < image.GetHeight(); ++row) {
        const unsigned char* from =
            image.GetData() + static_cast<std::ptrdiff_t>(row) * image.GetRowBytes();
        unsigned char* to =
            flat->GetData() + static_cast<std::ptrdiff_t>(row) * flat->GetRowBytes();
        for (int column = 0; column < image.GetWidth(); ++column, from += 4, to += 3)
            std::transform(
                from, from + 3, to, [&](unsigned char value) { return OnPaper(value, from[3]); });
    }
    return flat;
}

std::unique_ptr<KxC::KxRawData> Encode(const KxC::KxImageData& image, TileFormat format)
{
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    const KxC::KxString extension = KxC::KxString(".") + ExtensionOf(format);
    if (KxC::KxImgUtility::SaveImageToMemory(image.GetData(),
                                             image.GetWidth(),
                                             image.GetHeight(),
                                             image.GetPixelSize() * 8,
                                             bytes,
                                             size,
                                             extension,
                                             0) == 0)
        return nullptr;
    auto encoded = std::make_unique<KxC::KxRawData>();
    encoded->Attach(bytes, size);
    encoded->SetExt(extension);
    return encoded;
}

} // namespace

TileFormat FormatOf(const unsigned char* bytes, std::size_t size)
{
    const KxC::KxString extension =
        KxC::KxImgUtility::TellImgExt(bytes, static_cast<unsigned int>(size));
    if (extension == ".png")
        return TileFormat::Png;
    if (extension == ".jpeg")
        return TileFormat::Jpeg;
    return extension == ".webp" ? TileFormat::WebP : TileFormat::Natural;
}

std::unique_ptr<KxC::KxRawData> EncodePicture(const KxC::KxImageData& image, TileFormat format)
{
    if (format != TileFormat::Jpeg || image.GetPixelSize() < 4)
        return Encode(image, format);
    const auto flat = OnPaper(image);
    return flat == nullptr ? nullptr : Encode(*flat, format);
}

std::unique_ptr<KxC::KxRawData>
Transcode(const unsigned char* bytes, std::size_t size, TileFormat format)
{
    const std::unique_ptr<KxC::KxImageData> image(
        KxC::KxImgUtility::LoadImageData(bytes, static_cast<unsigned int>(size), "", 1, 1));
    return image == nullptr ? nullptr : EncodePicture(*image, format);
}

std::unique_ptr<KxC::KxRawData> BlankTile(int size, TileFormat format)
{
    if (format == TileFormat::Jpeg) {
        KxC::KxImageData white(size, size, KxC::KxPixelFormat_RGB);
        std::fill_n(white.GetData(),
                    static_cast<std::size_t>(white.GetRowBytes()) * static_cast<std::size_t>(size),
                    kPaper);
        return Encode(white, format);
    }
    const KxC::KxImageData clear(size, size, KxC::KxPixelFormat_RGBA);
    return Encode(clear, format == TileFormat::Natural ? TileFormat::Png : format);
}

} // namespace KxTileHost::Serve
