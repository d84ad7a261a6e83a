// SPDX-License-Identifier: MIT
#include "KxImgUtility.h"

#include "ByteSinks.h"
#include "ImageCodecs.h"
#include "KxFile.h"
#include "KxWholeFile.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <new>
#include <string_view>

namespace KxC {

namespace Imaging {

namespace {

bool StartsWith(ByteSpan bytes, std::string_view signature, std::size_t offset = 0)
{
    return bytes.size() >= offset + signature.size() &&
           std::equal(signature.begin(),
                      signature.end(),
                      bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                      [](char wanted, unsigned char found) {
                          return static_cast<unsigned char>(wanted) == found;
                      });
}

std::unique_ptr<KxImageData> Decode(Format format, ByteSpan bytes)
{
    switch (format) {
    case Format::Png:
        return DecodePng(bytes);
    case Format::Jpeg:
        return DecodeJpeg(bytes);
    case Format::Webp:
        return DecodeWebp(bytes);
    case Format::Gif:
        return DecodeGif(bytes);
    default:
        return nullptr;
    }
}

/// Format by signature, Unknown where the hint expects another one.
Format TellHintedFormat(ByteSpan bytes, const KxString& hint)
{
    const Format format = TellFormat(bytes);
    return hint.IsEmpty() || FormatOfExtension(hint) == format ? format : Format::Unknown;
}

} // namespace

void ShrinkToSize(Encoded& encoded)
{
    void* shrunk = std::realloc(encoded.bytes.get(), std::max<std::size_t>(encoded.size, 1));
    if (shrunk == nullptr)
        return;
    static_cast<void>(encoded.bytes.release());
    encoded.bytes.reset(static_cast<unsigned char*>(shrunk));
}

Format TellFormat(ByteSpan bytes)
{
    if (StartsWith(bytes, "\x89PNG\r\n\x1a\n"))
        return Format::Png;
    if (StartsWith(bytes, "\xFF\xD8\xFF"))
        return Format::Jpeg;
    if (StartsWith(bytes, "RIFF") && StartsWith(bytes, "WEBP", 8))
        return Format::Webp;
    if (StartsWith(bytes, "GIF87a") || StartsWith(bytes, "GIF89a"))
        return Format::Gif;
    return Format::Unknown;
}

Format FormatOfExtension(const KxString& extension)
{
    struct Name
    {
        const char* text;
        Format format;
    };
    static constexpr Name kNames[] = {{"png", Format::Png},
                                      {"jpeg", Format::Jpeg},
                                      {"jpg", Format::Jpeg},
                                      {"webp", Format::Webp},
                                      {"gif", Format::Gif},
                                      {"tif", Format::Tiff},
                                      {"tiff", Format::Tiff}};
    const KxString bare =
        extension[0] == '.' ? extension.Right(extension.GetLength() - 1) : extension;
    for (const Name& name : kNames)
        if (bare.CompareNoCase(name.text) == 0)
            return name.format;
    return Format::Unknown;
}

std::unique_ptr<KxImageData> NewPicture(long long width, long long height, bool alpha)
{
    if (!IsSizeAllowed(width, height))
        return nullptr;
    auto picture = std::make_unique<KxImageData>(static_cast<int>(width),
                                                 static_cast<int>(height),
                                                 alpha ? KxPixelFormat_RGBA : KxPixelFormat_RGB);
    return picture->GetData() == nullptr ? nullptr : std::move(picture);
}

unsigned char* RowFromNorth(KxImageData& picture, int row)
{
    return picture.GetData() +
           static_cast<std::ptrdiff_t>(picture.GetHeight() - 1 - row) * picture.GetRowBytes();
}

namespace {

Encoded EncodeTile(Format format, const PixelRows& rows)
{
    switch (format) {
    case Format::Png:
        return EncodePng(rows);
    case Format::Jpeg:
        return EncodeJpeg(rows, Purpose::Tile);
    case Format::Webp:
        return EncodeWebp(rows, Purpose::Tile);
    case Format::Tiff:
        return EncodeTiff(rows);
    default:
        return {};
    }
}

bool WriteEncoded(const Encoded& encoded, ByteSink& sink)
{
    return encoded.bytes != nullptr && sink.Write({encoded.bytes.get(), encoded.size});
}

bool IsWritten(Format format)
{
    return format != Format::Unknown && format != Format::Gif;
}

/// Writes a picture as a file that is kept.
bool WritePicture(Format format, const PixelRows& rows, ByteSink& sink)
{
    switch (format) {
    case Format::Png:
        return WritePng(rows, sink);
    case Format::Tiff:
        return WriteTiff(rows, sink);
    case Format::Jpeg:
        return WriteEncoded(EncodeJpeg(rows, Purpose::Keep), sink);
    case Format::Webp:
        return WriteEncoded(EncodeWebp(rows, Purpose::Keep), sink);
    default:
        return false;
    }
}

bool WritePicture(Format format, const PixelRows& rows, KxWholeFile& file)
{
    if (file.IsSeekable() != 0) {
        FileSink sink(file);
        return WritePicture(format, rows, sink);
    }
    // A TIFF is not written from its first byte to its last, but a pipe must be.
    MemorySink sink;
    if (!WritePicture(format, rows, sink))
        return false;
    const Encoded encoded = sink.Take();
    return file.Write(encoded.bytes.get(), encoded.size) != 0;
}

} // namespace

} // namespace Imaging

using namespace Imaging;

KxString KxImgUtility::TellImgExt(const unsigned char* bytes, unsigned int size)
{
    if (bytes == nullptr)
        return {};
    switch (TellFormat({bytes, size})) {
    case Format::Png:
        return ".png";
    case Format::Jpeg:
        return ".jpeg";
    case Format::Webp:
        return ".webp";
    case Format::Gif:
        return ".gif";
    default:
        return {};
    }
}

unsigned char KxImgUtility::IsCompletedImage(const unsigned char* bytes,
                                             unsigned int size,
                                             const KxString& formatHint)
try {
    if (bytes == nullptr)
        return 0;
    const ByteSpan span(bytes, size);
    return IsComplete(TellHintedFormat(span, formatHint), span) ? 1 : 0;
} catch (const std::bad_alloc&) {
    return 0;
}

KxImageData* KxImgUtility::LoadImageData(const unsigned char* bytes,
                                         unsigned int size,
                                         const KxString& formatHint,
                                         int /*option1*/,
                                         int /*option2*/)
try {
    if (bytes == nullptr)
        return nullptr;
    const ByteSpan span(bytes, size);
    return Decode(TellHintedFormat(span, formatHint), span).release();
} catch (const std::bad_alloc&) {
    return nullptr;
}

unsigned char KxImgUtility::SaveImageToMemory(const unsigned char* pixels,
                                              int width,
                                              int height,
                                              int bitsPerPixel,
                                              unsigned char*& data,
                                              unsigned int& size,
                                              const KxString& ext,
                                              int /*option*/)
try {
    data = nullptr;
    size = 0;
    if (pixels == nullptr || !IsSizeAllowed(width, height) ||
        (bitsPerPixel != 24 && bitsPerPixel != 32))
        return 0;
    const int pixelSize = bitsPerPixel / 8;
    const PixelRows rows{pixels,
                         static_cast<std::size_t>(width) * static_cast<std::size_t>(pixelSize),
                         width,
                         height,
                         pixelSize};
    Encoded encoded = EncodeTile(FormatOfExtension(ext), rows);
    if (encoded.bytes == nullptr || encoded.size > std::numeric_limits<unsigned int>::max())
        return 0;
    data = encoded.bytes.release();
    size = static_cast<unsigned int>(encoded.size);
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}

unsigned char
KxImgUtility::SaveImageFile(const KxImageData* image, const KxString& path, int /*option*/)
try {
    if (image == nullptr || image->GetData() == nullptr)
        return 0;
    const PixelRows rows{image->GetData(),
                         static_cast<std::size_t>(image->GetRowBytes()),
                         image->GetWidth(),
                         image->GetHeight(),
                         image->GetPixelSize()};
    const Format format = FormatOfExtension(KxFile::GetExt(path));
    if (!IsWritten(format))
        return 0;
    KxWholeFile file(path);
    return file.IsOpen() != 0 && WritePicture(format, rows, file) && file.Finish() != 0 ? 1 : 0;
} catch (const std::exception&) {
    return 0;
}

} // namespace KxC
