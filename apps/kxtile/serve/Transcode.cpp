// SPDX-License-Identifier: MIT
#include "serve/Transcode.h"

#include "KxImageData.h"
#include "KxImgUtility.h"

#include <algorithm>

namespace KxTileHost::Serve {

namespace {

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

std::unique_ptr<KxC::KxRawData>
Transcode(const unsigned char* bytes, std::size_t size, TileFormat format)
{
    const std::unique_ptr<KxC::KxImageData> image(
        KxC::KxImgUtility::LoadImageData(bytes, static_cast<unsigned int>(size), "", 1, 1));
    return image == nullptr ? nullptr : Encode(*image, format);
}

std::unique_ptr<KxC::KxRawData> BlankTile(int size, TileFormat format)
{
    if (format == TileFormat::Jpeg) {
        KxC::KxImageData white(size, size, KxC::KxPixelFormat_RGB);
        std::fill_n(white.GetData(),
                    static_cast<std::size_t>(white.GetRowBytes()) * static_cast<std::size_t>(size),
                    255);
        return Encode(white, format);
    }
    const KxC::KxImageData clear(size, size, KxC::KxPixelFormat_RGBA);
    return Encode(clear, format == TileFormat::Natural ? TileFormat::Png : format);
}

} // namespace KxTileHost::Serve
