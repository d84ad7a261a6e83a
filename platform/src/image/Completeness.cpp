// SPDX-License-Identifier: MIT
#include "ImageCodecs.h"

#include <libdeflate.h>

#include <cstdint>
#include <cstring>
#include <string_view>

namespace KxC::Imaging {

namespace {

/// Reads forward through bytes; once past the end it stays failed and answers zeros.
class Cursor
{
public:
    explicit Cursor(ByteSpan bytes) : m_bytes(bytes) {}

    bool Failed() const { return m_failed; }
    std::size_t Left() const { return m_bytes.size() - m_position; }

    ByteSpan Take(std::size_t count)
    {
        if (m_failed || count > Left()) {
            m_failed = true;
            return {};
        }
        const ByteSpan taken = m_bytes.subspan(m_position, count);
        m_position += count;
        return taken;
    }

    unsigned int Byte()
    {
        const ByteSpan one = Take(1);
        return one.empty() ? 0U : one[0];
    }

    std::uint32_t BigEndian(std::size_t count)
    {
        std::uint32_t value = 0;
        for (const unsigned char byte : Take(count))
            value = value << 8 | byte;
        return value;
    }

    std::uint32_t LittleEndian32()
    {
        const ByteSpan four = Take(4);
        std::uint32_t value = 0;
        for (std::size_t i = four.size(); i > 0; --i)
            value = value << 8 | four[i - 1];
        return value;
    }

    /// Moves to the next byte of this value; fails when there is none.
    void SkipTo(unsigned char wanted)
    {
        const void* found =
            Left() == 0 ? nullptr : std::memchr(m_bytes.data() + m_position, wanted, Left());
        if (found == nullptr)
            m_failed = true;
        else
            m_position =
                static_cast<std::size_t>(static_cast<const unsigned char*>(found) - m_bytes.data());
    }

private:
    ByteSpan m_bytes;
    std::size_t m_position = 0;
    bool m_failed = false;
};

bool IsName(ByteSpan name, std::string_view wanted)
{
    return name.size() == wanted.size() &&
           std::memcmp(name.data(), wanted.data(), wanted.size()) == 0;
}

// PNG: an 8-byte signature, then chunks of length, name, content, CRC up to IEND.

constexpr std::uint32_t kMaxPngChunk = 0x7FFFFFFF;

struct PngChunk
{
    ByteSpan name;
    std::size_t length;
    bool valid;
};

PngChunk TakePngChunk(Cursor& cursor)
{
    const std::size_t length = cursor.BigEndian(4);
    if (cursor.Failed() || length > kMaxPngChunk)
        return {{}, 0, false};
    const ByteSpan nameAndContent = cursor.Take(length + 4);
    const std::uint32_t crc = cursor.BigEndian(4);
    if (cursor.Failed())
        return {{}, 0, false};
    const bool intact = libdeflate_crc32(0, nameAndContent.data(), nameAndContent.size()) == crc;
    return {nameAndContent.first(4), length, intact};
}

bool IsCompletePng(ByteSpan bytes)
{
    Cursor cursor(bytes);
    cursor.Take(8);
    const PngChunk header = TakePngChunk(cursor);
    if (!header.valid || !IsName(header.name, "IHDR") || header.length != 13)
        return false;
    bool hasPixels = false;
    while (true) {
        const PngChunk chunk = TakePngChunk(cursor);
        if (!chunk.valid)
            return false;
        if (IsName(chunk.name, "IEND"))
            return hasPixels && chunk.length == 0;
        hasPixels = hasPixels || IsName(chunk.name, "IDAT");
    }
}

// JPEG: markers with lengths; after a start of scan come coded bytes in which FF 00 and the
// restart markers do not end the scan.

constexpr unsigned int kJpegStartOfScan = 0xDA;
constexpr unsigned int kJpegEnd = 0xD9;
constexpr unsigned int kJpegStartOfImage = 0xD8;

bool IsRestartMarker(unsigned int marker)
{
    return marker >= 0xD0 && marker <= 0xD7;
}

/// Start-of-frame markers are C0 to CF without DHT (C4), JPG (C8) and DAC (CC).
bool IsFrameMarker(unsigned int marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// The marker's code; any number of FF may stand before it. 0 when there is no marker here.
unsigned int TakeMarker(Cursor& cursor)
{
    if (cursor.Byte() != 0xFF)
        return 0;
    unsigned int code = 0xFF;
    while (code == 0xFF && !cursor.Failed())
        code = cursor.Byte();
    return code;
}

/// The marker that ends the coded bytes of a scan; 0 when they do not end.
unsigned int SkipScan(Cursor& cursor)
{
    while (!cursor.Failed()) {
        cursor.SkipTo(0xFF);
        const unsigned int marker = TakeMarker(cursor);
        if (marker != 0 && !IsRestartMarker(marker))
            return marker;
    }
    return 0;
}

bool SkipJpegSegment(Cursor& cursor)
{
    const std::uint32_t length = cursor.BigEndian(2);
    if (length < 2)
        return false;
    cursor.Take(length - 2);
    return !cursor.Failed();
}

// GIF: header, tables, then blocks made of counted sub-blocks up to the trailer.

constexpr unsigned int kGifImage = 0x2C;
constexpr unsigned int kGifExtension = 0x21;
constexpr unsigned int kGifTrailer = 0x3B;

void SkipGifColours(Cursor& cursor, unsigned int flags)
{
    if ((flags & 0x80U) != 0)
        cursor.Take(std::size_t{3} << ((flags & 7U) + 1));
}

void SkipGifSubBlocks(Cursor& cursor)
{
    std::size_t count = cursor.Byte();
    while (count > 0 && !cursor.Failed()) {
        cursor.Take(count);
        count = cursor.Byte();
    }
}

void SkipGifImage(Cursor& cursor)
{
    cursor.Take(8);
    SkipGifColours(cursor, cursor.Byte());
    cursor.Take(1); // width of the first codes
    SkipGifSubBlocks(cursor);
}

bool IsCompleteGif(ByteSpan bytes)
{
    Cursor cursor(bytes);
    cursor.Take(6 + 4);
    const unsigned int flags = cursor.Byte();
    cursor.Take(2);
    SkipGifColours(cursor, flags);
    bool hasImage = false;
    while (!cursor.Failed()) {
        switch (cursor.Byte()) {
        case kGifTrailer:
            return hasImage;
        case kGifImage:
            SkipGifImage(cursor);
            hasImage = true;
            break;
        case kGifExtension:
            cursor.Take(1);
            SkipGifSubBlocks(cursor);
            break;
        default:
            return false;
        }
    }
    return false;
}

// WebP: one RIFF container whose length covers its chunks, each padded to an even length.

bool IsWebpPixels(ByteSpan name)
{
    return IsName(name, "VP8 ") || IsName(name, "VP8L") || IsName(name, "ANMF");
}

bool IsCompleteWebp(ByteSpan bytes)
{
    Cursor file(bytes);
    file.Take(4);
    const std::uint32_t length = file.LittleEndian32();
    Cursor chunks(file.Take(length));
    if (file.Failed())
        return false;
    chunks.Take(4);
    bool hasPixels = false;
    while (!chunks.Failed() && chunks.Left() > 0) {
        const ByteSpan name = chunks.Take(4);
        const std::size_t size = chunks.LittleEndian32();
        chunks.Take(size);
        // Some writers leave the last chunk's padding out of the file.
        if (size % 2 != 0 && chunks.Left() > 0)
            chunks.Take(1);
        hasPixels = hasPixels || IsWebpPixels(name);
    }
    return hasPixels && !chunks.Failed();
}

} // namespace

bool IsCompleteJpeg(ByteSpan bytes)
{
    Cursor cursor(bytes);
    if (TakeMarker(cursor) != kJpegStartOfImage)
        return false;
    bool hasFrame = false;
    bool hasScan = false;
    unsigned int marker = TakeMarker(cursor);
    while (marker != 0 && marker != kJpegEnd && SkipJpegSegment(cursor)) {
        hasFrame = hasFrame || IsFrameMarker(marker);
        hasScan = hasScan || marker == kJpegStartOfScan;
        marker = marker == kJpegStartOfScan ? SkipScan(cursor) : TakeMarker(cursor);
    }
    return marker == kJpegEnd && !cursor.Failed() && hasFrame && hasScan;
}

bool IsComplete(Format format, ByteSpan bytes)
{
    switch (format) {
    case Format::Png:
        return IsCompletePng(bytes);
    case Format::Jpeg:
        return IsCompleteJpeg(bytes);
    case Format::Webp:
        return IsCompleteWebp(bytes);
    case Format::Gif:
        return IsCompleteGif(bytes);
    default:
        return false;
    }
}

} // namespace KxC::Imaging
