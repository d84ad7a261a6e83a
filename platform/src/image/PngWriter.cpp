// SPDX-License-Identifier: MIT
#include "ByteSinks.h"
#include "Difference.h"
#include "PngParts.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <vector>

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

/// A picture's rows as PNG compresses them, each behind the number of its filter.
class FilteredRows
{
public:
    /// @param palette  null for a picture that is not indexed
    FilteredRows(const PixelRows& rows, const PngPalette* palette)
        : m_rows(rows), m_palette(palette),
          m_size(1 +
                 (palette != nullptr ? static_cast<std::size_t>(rows.width) : rows.PixelBytes()))
    {
    }

    std::size_t RowSize() const { return m_size; }

    /// Writes rows counted from the north.
    void Write(int first, int count, unsigned char* out) const
    {
        for (int row = first; row < first + count; ++row, out += m_size)
            if (m_palette != nullptr)
                IndexRow(row, out);
            else
                FilterUp(row, out);
    }

private:
    /// A row against the one north of it. Neighbouring rows of imagery differ little, and one
    /// subtraction a byte is what a vector unit does best; trying all filters costs more time than
    /// the compression after it.
    void FilterUp(int row, unsigned char* out) const
    {
        const std::size_t count = m_rows.PixelBytes();
        const unsigned char* const current = m_rows.RowFromNorth(row);
        out[0] = row == 0 ? kFilterNone : kFilterUp;
        if (row == 0) {
            std::memcpy(out + 1, current, count);
            return;
        }
        Subtract(current, m_rows.RowFromNorth(row - 1), count, out + 1);
    }

    /// Palette indices carry no nearness, so a filter would only hide their repetitions.
    void IndexRow(int row, unsigned char* out) const
    {
        out[0] = kFilterNone;
        m_palette->IndexRow(m_rows.RowFromNorth(row), m_rows.width, m_rows.pixelSize, out + 1);
    }

    const PixelRows& m_rows;
    const PngPalette* m_palette;
    std::size_t m_size;
};

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

/// What stands before the pixels.
/// @param palette  null for a picture that is not indexed
void WriteHead(ChunkWriter& writer, const PixelRows& rows, const PngPalette* palette)
{
    const PngColour colour = rows.pixelSize == 4 ? PngColour::Rgba : PngColour::Rgb;
    WriteHeader(writer, rows, palette != nullptr ? PngColour::Palette : colour);
    if (palette != nullptr)
        WritePalette(writer, rows, *palette);
}

void WriteEnd(ChunkWriter& writer)
{
    writer.Begin("IEND");
    writer.End();
}

/// What all chunks but the pixels' content take at most.
constexpr std::size_t kFixedBytes = kSignatureSize + (kChunkFrame + kHeaderContent) +
                                    (kChunkFrame + std::size_t{3} * PngPalette::kMaxColours) +
                                    (kChunkFrame + PngPalette::kMaxColours) + 2 * kChunkFrame;

bool WritePixels(ChunkWriter& writer, ByteSpan filtered)
{
    writer.Begin("IDAT");
    const std::size_t length =
        ZlibCompress(filtered, {writer.Position(), ZlibBound(filtered.size())});
    writer.Skip(length);
    writer.End();
    return length > 0;
}

/// A picture's palette, where it has one.
class FoundPalette
{
public:
    explicit FoundPalette(const PixelRows& rows) : m_indexed(m_palette.Collect(rows))
    {
        if (m_indexed)
            m_palette.Arrange();
    }
    /// Null where there are too many colours.
    const PngPalette* Get() const { return m_indexed ? &m_palette : nullptr; }

private:
    PngPalette m_palette;
    bool m_indexed;
};

/// Writes chunks to a sink, each in one piece.
class ChunkSink
{
public:
    explicit ChunkSink(ByteSink& sink) : m_sink(sink) {}

    /// @param fill   (ChunkWriter&)
    /// @param bytes  that it writes at most
    template <typename Fill>
    bool Put(std::size_t bytes, Fill fill)
    {
        m_chunk.resize(std::max(m_chunk.size(), bytes));
        ChunkWriter writer(m_chunk.data());
        fill(writer);
        return m_sink.Write({m_chunk.data(), writer.Written()});
    }
    bool PutPixels(ByteSpan compressed)
    {
        return Put(kChunkFrame + compressed.size(), [=](ChunkWriter& writer) {
            writer.Begin("IDAT");
            writer.Bytes(compressed);
            writer.End();
        });
    }

private:
    ByteSink& m_sink;
    std::vector<unsigned char> m_chunk;
};

/// Filters and compresses some rows at a time.
bool StreamPixels(const PixelRows& rows, const FilteredRows& filtered, ChunkSink& chunks)
{
    constexpr std::size_t kAtOnce = std::size_t{128} << 10;
    const auto step = static_cast<int>(
        std::min(kAtOnce / filtered.RowSize() + 1, static_cast<std::size_t>(rows.height)));
    std::vector<unsigned char> some(filtered.RowSize() * static_cast<std::size_t>(step));
    ZlibStream stream;
    for (int first = 0; first < rows.height; first += step) {
        const int count = std::min(step, rows.height - first);
        filtered.Write(first, count, some.data());
        const ByteSpan bytes(some.data(), filtered.RowSize() * static_cast<std::size_t>(count));
        if (!stream.Write(bytes, first + count == rows.height, [&](ByteSpan compressed) {
                return chunks.PutPixels(compressed);
            }))
            return false;
    }
    return true;
}

} // namespace

bool WritePng(const PixelRows& rows, ByteSink& sink)
{
    const FoundPalette palette(rows);
    ChunkSink chunks(sink);
    return chunks.Put(kFixedBytes,
                      [&](ChunkWriter& writer) { WriteHead(writer, rows, palette.Get()); }) &&
           StreamPixels(rows, FilteredRows(rows, palette.Get()), chunks) &&
           chunks.Put(kFixedBytes, WriteEnd);
}

Encoded EncodePng(const PixelRows& rows)
{
    const FoundPalette palette(rows);
    const FilteredRows filteredRows(rows, palette.Get());
    const std::size_t filteredSize = filteredRows.RowSize() * static_cast<std::size_t>(rows.height);
    const MallocBytes filtered = AllocateBytes(filteredSize);
    Encoded encoded{AllocateBytes(kFixedBytes + ZlibBound(filteredSize)), 0};
    if (filtered == nullptr || encoded.bytes == nullptr)
        return {};
    filteredRows.Write(0, rows.height, filtered.get());
    ChunkWriter writer(encoded.bytes.get());
    WriteHead(writer, rows, palette.Get());
    if (!WritePixels(writer, {filtered.get(), filteredSize}))
        return {};
    WriteEnd(writer);
    encoded.size = writer.Written();
    ShrinkToSize(encoded);
    return encoded;
}

} // namespace KxC::Imaging
