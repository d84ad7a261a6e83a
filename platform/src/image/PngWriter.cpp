// SPDX-License-Identifier: MIT
#include "PngParts.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace KxC::Imaging {

namespace {

constexpr std::size_t kSignatureSize = 8;
constexpr std::size_t kChunkFrame = 12; ///< length, name and CRC around a chunk's content
constexpr std::size_t kHeaderContent = 13;

enum class PngColour : unsigned char { Rgb = 2, Palette = 3, Rgba = 6 };
enum PngFilter : unsigned char { kFilterNone = 0, kFilterUp = 2 };

/// Appends chunks to memory that was taken for all of them.
class ChunkWriter
{
public:
    explicit ChunkWriter(unsigned char* start) : m_start(start), m_position(start) {}

    void Bytes(ByteSpan bytes)
    {
        std::memcpy(m_position, bytes.data(), bytes.size());
        m_position += bytes.size();
    }

    void Byte(unsigned int value) { *m_position++ = static_cast<unsigned char>(value); }

    void BigEndian32(std::uint32_t value)
    {
        for (int shift = 24; shift >= 0; shift -= 8)
            Byte(value >> shift & 0xFFU);
    }

    void Begin(std::string_view name)
    {
        m_chunk = m_position;
        BigEndian32(0);
        std::memcpy(m_position, name.data(), name.size());
        m_position += name.size();
    }

    /// Fills in the length and closes with the CRC of name and content.
    void End()
    {
        unsigned char* const end = m_position;
        const unsigned char* const named = m_chunk + 4;
        m_position = m_chunk;
        BigEndian32(static_cast<std::uint32_t>(end - named - 4));
        m_position = end;
        BigEndian32(Crc32({named, static_cast<std::size_t>(end - named)}));
    }

    unsigned char* Position() { return m_position; }
    void Skip(std::size_t count) { m_position += count; }
    std::size_t Written() const { return static_cast<std::size_t>(m_position - m_start); }

private:
    unsigned char* m_start;
    unsigned char* m_position;
    unsigned char* m_chunk = nullptr;
};

/// Each row against the one north of it. Neighbouring rows of imagery differ little, and one
/// subtraction a byte is what a vector unit does best; trying all filters costs more time than the
/// compression after it.
void FilterUp(const PixelRows& rows, unsigned char* out)
{
    const std::size_t count = rows.PixelBytes();
    out[0] = kFilterNone;
    std::memcpy(out + 1, rows.RowFromNorth(0), count);
    for (int row = 1; row < rows.height; ++row) {
        out += count + 1;
        const unsigned char* above = rows.RowFromNorth(row - 1);
        const unsigned char* current = rows.RowFromNorth(row);
        out[0] = kFilterUp;
        for (std::size_t i = 0; i < count; ++i)
            out[1 + i] = static_cast<unsigned char>(current[i] - above[i]);
    }
}

/// Palette indices carry no nearness, so a filter would only hide their repetitions.
void IndexRows(const PixelRows& rows, const PngPalette& palette, unsigned char* out)
{
    for (int row = 0; row < rows.height; ++row) {
        out[0] = kFilterNone;
        palette.IndexRow(rows.RowFromNorth(row), rows.width, rows.pixelSize, out + 1);
        out += static_cast<std::size_t>(rows.width) + 1;
    }
}

void WriteHeader(ChunkWriter& writer, const PixelRows& rows, PngColour colour)
{
    static constexpr unsigned char kSignature[kSignatureSize] = {
        0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    writer.Bytes(kSignature);
    writer.Begin("IHDR");
    writer.BigEndian32(static_cast<std::uint32_t>(rows.width));
    writer.BigEndian32(static_cast<std::uint32_t>(rows.height));
    writer.Byte(8);
    writer.Byte(static_cast<unsigned int>(colour));
    writer.Byte(0); // deflate
    writer.Byte(0); // the five standard filters
    writer.Byte(0); // not interlaced
    writer.End();
}

/// A picture with alpha keeps its alpha channel: one opaque tRNS entry says so where no colour is
/// transparent.
int TransparencyEntries(const PixelRows& rows, const PngPalette& palette)
{
    return rows.pixelSize == 4 ? std::max(palette.TransparentCount(), 1) : 0;
}

void WritePalette(ChunkWriter& writer, const PixelRows& rows, const PngPalette& palette)
{
    writer.Begin("PLTE");
    for (int i = 0; i < palette.Count(); ++i)
        writer.Bytes(ByteSpan(palette.Colour(i)).first(3));
    writer.End();
    const int entries = TransparencyEntries(rows, palette);
    if (entries == 0)
        return;
    writer.Begin("tRNS");
    for (int i = 0; i < entries; ++i)
        writer.Byte(palette.Colour(i)[3]);
    writer.End();
}

/// What all chunks but the pixels' content take at most.
constexpr std::size_t kFixedBytes = kSignatureSize + (kChunkFrame + kHeaderContent) +
                                    (kChunkFrame + std::size_t{3} * PngPalette::kMaxColours) +
                                    (kChunkFrame + PngPalette::kMaxColours) + 2 * kChunkFrame;

bool WritePixels(ChunkWriter& writer, ByteSpan filtered, Purpose purpose)
{
    writer.Begin("IDAT");
    const std::size_t length =
        ZlibCompress(filtered, {writer.Position(), ZlibBound(filtered.size())}, purpose);
    writer.Skip(length);
    writer.End();
    writer.Begin("IEND");
    writer.End();
    return length > 0;
}

} // namespace

Encoded EncodePng(const PixelRows& rows, Purpose purpose)
{
    PngPalette palette;
    const bool indexed = palette.Collect(rows);
    const std::size_t rowSize =
        1 + (indexed ? static_cast<std::size_t>(rows.width) : rows.PixelBytes());
    const std::size_t filteredSize = rowSize * static_cast<std::size_t>(rows.height);
    const MallocBytes filtered = AllocateBytes(filteredSize);
    Encoded encoded{AllocateBytes(kFixedBytes + ZlibBound(filteredSize)), 0};
    if (filtered == nullptr || encoded.bytes == nullptr)
        return {};
    ChunkWriter writer(encoded.bytes.get());
    if (indexed) {
        palette.Arrange();
        IndexRows(rows, palette, filtered.get());
        WriteHeader(writer, rows, PngColour::Palette);
        WritePalette(writer, rows, palette);
    } else {
        FilterUp(rows, filtered.get());
        WriteHeader(writer, rows, rows.pixelSize == 4 ? PngColour::Rgba : PngColour::Rgb);
    }
    if (!WritePixels(writer, {filtered.get(), filteredSize}, purpose))
        return {};
    encoded.size = writer.Written();
    ShrinkToSize(encoded);
    return encoded;
}

} // namespace KxC::Imaging
