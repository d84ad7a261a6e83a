// SPDX-License-Identifier: MIT
#include "ByteSinks.h"
#include "Deflate.h"
#include "Difference.h"
#include "ImageCodecs.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace KxC::Imaging {

namespace {

/// A file as libtiff's callbacks see it, which only write what they are given.
struct WrittenFile
{
    ByteSink& sink;
    std::uint64_t position = 0;
};

WrittenFile& FileOf(thandle_t handle)
{
    return *static_cast<WrittenFile*>(handle);
}

tmsize_t ReadNothing(thandle_t /*handle*/, void* /*out*/, tmsize_t /*count*/)
{
    return -1;
}

tmsize_t WriteToSink(thandle_t handle, void* bytes, tmsize_t count)
{
    WrittenFile& file = FileOf(handle);
    const auto length = static_cast<std::size_t>(count);
    if (!file.sink.WriteAt(file.position, {static_cast<const unsigned char*>(bytes), length}))
        return -1;
    file.position += length;
    return count;
}

toff_t Seek(thandle_t handle, toff_t offset, int origin)
{
    WrittenFile& file = FileOf(handle);
    const std::uint64_t base = origin == SEEK_CUR   ? file.position
                               : origin == SEEK_END ? file.sink.Size()
                                                    : 0;
    file.position = base + offset;
    return file.position;
}

int Close(thandle_t /*handle*/)
{
    return 0;
}

toff_t SizeOf(thandle_t handle)
{
    return FileOf(handle).sink.Size();
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

Tiff OpenTiff(WrittenFile& file)
{
    const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
    if (options == nullptr)
        return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), IgnoreMessage, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), IgnoreMessage, nullptr);
    return Tiff(TIFFClientOpenExt("picture",
                                  "w",
                                  &file,
                                  ReadNothing,
                                  WriteToSink,
                                  Seek,
                                  Close,
                                  SizeOf,
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
void PredictRows(const PixelRows& rows, int first, int count, unsigned char* out)
{
    const std::size_t rowBytes = rows.PixelBytes();
    const auto pixelSize = static_cast<std::size_t>(rows.pixelSize);
    for (int row = first; row < first + count; ++row, out += rowBytes) {
        const unsigned char* const pixels = rows.RowFromNorth(row);
        std::memcpy(out, pixels, pixelSize);
        Subtract(pixels + pixelSize, pixels, rowBytes - pixelSize, out + pixelSize);
    }
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
        PredictRows(rows, first, count, strip.data());
        const std::size_t length =
            ZlibCompress({strip.data(), rowBytes * static_cast<std::size_t>(count)}, compressed);
        if (length == 0 ||
            TIFFWriteRawStrip(tiff, number, compressed.data(), static_cast<tmsize_t>(length)) < 0)
            return false;
    }
    return true;
}

} // namespace

bool WriteTiff(const PixelRows& rows, ByteSink& sink)
{
    WrittenFile file{sink};
    const Tiff tiff = OpenTiff(file);
    // Closing writes no more, but may still call back.
    return tiff != nullptr && SetTags(tiff.get(), rows) && WriteStrips(tiff.get(), rows) &&
           TIFFFlush(tiff.get()) != 0;
}

Encoded EncodeTiff(const PixelRows& rows)
{
    MemorySink sink;
    // Room for half the pixels: what photographs compress to, so that memory seldom grows.
    if (!sink.Reserve(rows.PixelBytes() * static_cast<std::size_t>(rows.height) / 2 + 4096) ||
        !WriteTiff(rows, sink))
        return {};
    return sink.Take();
}

} // namespace KxC::Imaging
