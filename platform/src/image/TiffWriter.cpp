// SPDX-License-Identifier: MIT
#include "Deflate.h"
#include "ImageCodecs.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace KxC::Imaging {

namespace {

/// A file in memory, as libtiff's callbacks see it.
struct MemoryFile
{
    Encoded content;
    std::size_t capacity = 0;
    std::size_t position = 0;

    bool Reserve(std::size_t wanted)
    {
        if (wanted <= capacity)
            return true;
        const std::size_t newCapacity = std::max(wanted, capacity + capacity / 2);
        void* grown = std::realloc(content.bytes.get(), newCapacity);
        if (grown == nullptr)
            return false;
        static_cast<void>(content.bytes.release());
        content.bytes.reset(static_cast<unsigned char*>(grown));
        capacity = newCapacity;
        return true;
    }
};

MemoryFile& FileOf(thandle_t handle)
{
    return *static_cast<MemoryFile*>(handle);
}

tmsize_t ReadMemory(thandle_t handle, void* out, tmsize_t count)
{
    MemoryFile& file = FileOf(handle);
    const std::size_t left = file.content.size - std::min(file.position, file.content.size);
    const std::size_t taken = std::min(left, static_cast<std::size_t>(count));
    if (taken > 0)
        std::memcpy(out, file.content.bytes.get() + file.position, taken);
    file.position += taken;
    return static_cast<tmsize_t>(taken);
}

tmsize_t WriteMemory(thandle_t handle, void* bytes, tmsize_t count)
{
    MemoryFile& file = FileOf(handle);
    const std::size_t length = static_cast<std::size_t>(count);
    const std::size_t end = file.position + length;
    if (!file.Reserve(end))
        return -1;
    // A seek past the end leaves a gap.
    if (file.position > file.content.size)
        std::memset(
            file.content.bytes.get() + file.content.size, 0, file.position - file.content.size);
    std::memcpy(file.content.bytes.get() + file.position, bytes, length);
    file.position = end;
    file.content.size = std::max(file.content.size, end);
    return count;
}

toff_t SeekMemory(thandle_t handle, toff_t offset, int origin)
{
    MemoryFile& file = FileOf(handle);
    const std::size_t base = origin == SEEK_CUR   ? file.position
                             : origin == SEEK_END ? file.content.size
                                                  : 0;
    file.position = base + static_cast<std::size_t>(offset);
    return file.position;
}

int CloseMemory(thandle_t /*handle*/)
{
    return 0;
}

toff_t SizeOfMemory(thandle_t handle)
{
    return FileOf(handle).content.size;
}

/// Answers "handled", so that libtiff's own handler, which prints, is not reached.
int IgnoreMessage(TIFF*, void*, const char*, const char*, va_list)
{
    return 1;
}

struct FreeOptions
{
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

struct CloseTiff
{
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, CloseTiff>;

Tiff OpenTiff(MemoryFile& file)
{
    const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
    if (options == nullptr)
        return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), IgnoreMessage, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), IgnoreMessage, nullptr);
    return Tiff(TIFFClientOpenExt("memory",
                                  "w",
                                  &file,
                                  ReadMemory,
                                  WriteMemory,
                                  SeekMemory,
                                  CloseMemory,
                                  SizeOfMemory,
                                  nullptr,
                                  nullptr,
                                  options.get()));
}

/// What a strip's rows take at least, unless there are no more: each strip has codes of its own.
constexpr std::size_t kStripBytes = std::size_t{128} << 10;

std::size_t RowsPerStrip(const PixelRows& rows)
{
    return std::min((kStripBytes + rows.PixelBytes() - 1) / rows.PixelBytes(),
                    static_cast<std::size_t>(rows.height));
}

bool SetTags(TIFF* tiff, const PixelRows& rows)
{
    const std::uint16_t unassociatedAlpha = EXTRASAMPLE_UNASSALPHA;
    bool set = TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, rows.width) != 0 &&
               TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, rows.height) != 0 &&
               TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, rows.pixelSize) != 0 &&
               TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8) != 0 &&
               TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) != 0 &&
               TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) != 0 &&
               TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) != 0 &&
               TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE) != 0 &&
               TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL) != 0;
    if (rows.pixelSize == 4)
        set = set && TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &unassociatedAlpha) != 0;
    return set && TIFFSetField(tiff,
                               TIFFTAG_ROWSPERSTRIP,
                               static_cast<std::uint32_t>(RowsPerStrip(rows))) != 0;
}

/// The horizontal predictor: each sample as its difference from that of the pixel before.
void PredictRow(const unsigned char* pixels,
                std::size_t count,
                std::size_t pixelSize,
                unsigned char* out)
{
    std::memcpy(out, pixels, pixelSize);
    for (std::size_t i = pixelSize; i < count; ++i)
        out[i] = static_cast<unsigned char>(pixels[i] - pixels[i - pixelSize]);
}

/// Compresses the strips itself: the quick encoder takes less time than libtiff's at its quickest.
bool WriteStrips(TIFF* tiff, const PixelRows& rows)
{
    const std::size_t rowBytes = rows.PixelBytes();
    const auto rowsPerStrip = static_cast<int>(RowsPerStrip(rows));
    std::vector<unsigned char> strip(rowBytes * RowsPerStrip(rows));
    std::vector<unsigned char> compressed(ZlibBound(strip.size()));
    std::uint32_t number = 0;
    for (int first = 0; first < rows.height; first += rowsPerStrip, ++number) {
        const int count = std::min(rowsPerStrip, rows.height - first);
        for (int row = 0; row < count; ++row)
            PredictRow(rows.RowFromNorth(first + row),
                       rowBytes,
                       static_cast<std::size_t>(rows.pixelSize),
                       strip.data() + static_cast<std::size_t>(row) * rowBytes);
        const std::size_t length = ZlibCompress(
            {strip.data(), rowBytes * static_cast<std::size_t>(count)}, compressed, Purpose::Tile);
        if (length == 0 ||
            TIFFWriteRawStrip(tiff, number, compressed.data(), static_cast<tmsize_t>(length)) < 0)
            return false;
    }
    return true;
}

} // namespace

Encoded EncodeTiff(const PixelRows& rows)
{
    MemoryFile file;
    // Room for half the pixels: what photographs compress to, so that memory seldom grows.
    if (!file.Reserve(rows.PixelBytes() * static_cast<std::size_t>(rows.height) / 2 + 4096))
        return {};
    Tiff tiff = OpenTiff(file);
    if (tiff == nullptr || !SetTags(tiff.get(), rows) || !WriteStrips(tiff.get(), rows) ||
        TIFFFlush(tiff.get()) == 0)
        return {};
    // Closing writes no more, but may still call back.
    tiff.reset();
    ShrinkToSize(file.content);
    return std::move(file.content);
}

} // namespace KxC::Imaging
