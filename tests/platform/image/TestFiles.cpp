// SPDX-License-Identifier: MIT
#include "TestFiles.h"

// clang-format off: jpeglib.h needs FILE before it
#include <cstdio>
// clang-format on

#include <gif_lib.h>
#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>
#include <webp/decode.h>
#include <webp/encode.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace KxC::ImageTest {

namespace {

void Require(bool condition, const char* what)
{
    if (!condition)
        throw std::runtime_error(what);
}

NorthUp Blank(int width, int height, int channels)
{
    return {width,
            height,
            channels,
            Bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                  static_cast<std::size_t>(channels))};
}

NorthUp Painted(int width, int height, int channels, const std::function<int(int, int, int)>& value)
{
    NorthUp picture = Blank(width, height, channels);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
            for (int channel = 0; channel < channels; ++channel)
                picture.At(row, column)[channel] =
                    static_cast<unsigned char>(value(row, column, channel));
    return picture;
}

} // namespace

unsigned char* NorthUp::At(int row, int column)
{
    return pixels.data() + (static_cast<std::ptrdiff_t>(row) * width + column) * channels;
}

const unsigned char* NorthUp::At(int row, int column) const
{
    return pixels.data() + (static_cast<std::ptrdiff_t>(row) * width + column) * channels;
}

NorthUp Graded(int width, int height, int channels)
{
    return Painted(width, height, channels, [](int row, int column, int channel) {
        const int values[4] = {
            column, row, 16 * (row / 256) + column / 256, 255 - (row + column) / 2};
        return values[channel] & 255;
    });
}

NorthUp Smooth(int width, int height, int channels)
{
    return Painted(width, height, channels, [=](int row, int column, int channel) {
        const double x = static_cast<double>(column) / width;
        const double y = static_cast<double>(row) / height;
        return static_cast<int>(128 + 60 * std::sin(3 * x + channel) + 60 * std::cos(2 * y));
    });
}

NorthUp Patches(int width, int height, int channels, int colours)
{
    return Painted(width, height, channels, [=](int row, int column, int channel) {
        const int colour = (row * width + column) % colours;
        const int values[4] = {colour & 255, colour >> 8, 255 - (colour & 255), colour & 255};
        return values[channel];
    });
}

NorthUp FromImage(const KxImageData& image)
{
    NorthUp picture = Blank(image.GetWidth(), image.GetHeight(), image.GetPixelSize());
    for (int row = 0; row < picture.height; ++row)
        std::memcpy(picture.At(row, 0),
                    image.GetData() +
                        static_cast<std::ptrdiff_t>(picture.height - 1 - row) * image.GetRowBytes(),
                    static_cast<std::size_t>(picture.width * picture.channels));
    return picture;
}

std::unique_ptr<KxImageData> ToImage(const NorthUp& picture, int rowBytes)
{
    auto image = std::make_unique<KxImageData>(picture.width,
                                               picture.height,
                                               picture.channels == 4 ? KxPixelFormat_RGBA
                                                                     : KxPixelFormat_RGB,
                                               rowBytes);
    for (int row = 0; row < picture.height; ++row)
        for (int column = 0; column < picture.width; ++column)
            Require(image->SetValue(picture.height - 1 - row,
                                    column,
                                    picture.At(row, column),
                                    picture.channels) == 1,
                    "pixel does not fit");
    return image;
}

Bytes SouthUpPixels(const NorthUp& picture)
{
    Bytes pixels;
    for (int row = picture.height - 1; row >= 0; --row)
        pixels.insert(pixels.end(),
                      picture.At(row, 0),
                      picture.At(row, 0) + picture.width * picture.channels);
    return pixels;
}

int MaxDifference(const NorthUp& a, const NorthUp& b)
{
    if (a.width != b.width || a.height != b.height || a.channels != b.channels)
        return 256;
    int greatest = 0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i)
        greatest = std::max(greatest, std::abs(a.pixels[i] - b.pixels[i]));
    return greatest;
}

// PNG

namespace {

void AppendPng(png_structp png, png_bytep bytes, std::size_t count)
{
    Bytes& file = *static_cast<Bytes*>(png_get_io_ptr(png));
    file.insert(file.end(), bytes, bytes + count);
}

void FlushPng(png_structp) {}

[[noreturn]] void PngFailed(png_structp, png_const_charp message)
{
    std::fprintf(stderr, "libpng: %s\n", message);
    std::abort();
}

void WriteTransparency(png_structp png, png_infop info, const PngOptions& options)
{
    if (!options.paletteAlpha.empty())
        png_set_tRNS(png,
                     info,
                     options.paletteAlpha.data(),
                     static_cast<int>(options.paletteAlpha.size()),
                     nullptr);
    if (options.transparentGrey >= 0) {
        const auto value = static_cast<png_uint_16>(options.transparentGrey);
        const png_color_16 colour = {0, value, value, value, value};
        png_set_tRNS(png, info, nullptr, 0, &colour);
    }
}

void WriteText(png_structp png, png_infop info)
{
    char key[] = "Comment";
    std::string words(2000, 'w');
    png_text text = {};
    text.compression = PNG_TEXT_COMPRESSION_zTXt;
    text.key = key;
    text.text = words.data();
    text.text_length = words.size();
    png_set_text(png, info, &text, 1);
}

} // namespace

Bytes PngFile(int width,
              int height,
              const PngOptions& options,
              const std::function<void(int row, unsigned char* packed)>& packedRow)
{
    Bytes file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, PngFailed, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &file, AppendPng, FlushPng);
    png_set_IHDR(png,
                 info,
                 static_cast<png_uint_32>(width),
                 static_cast<png_uint_32>(height),
                 options.bitDepth,
                 options.colourType,
                 options.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    std::vector<png_color> colours;
    for (std::size_t i = 0; i + 2 < options.palette.size(); i += 3)
        colours.push_back({options.palette[i], options.palette[i + 1], options.palette[i + 2]});
    if (!colours.empty())
        png_set_PLTE(png, info, colours.data(), static_cast<int>(colours.size()));
    WriteTransparency(png, info, options);
    if (options.withText)
        WriteText(png, info);
    png_write_info(png, info);
    std::vector<Bytes> rows(static_cast<std::size_t>(height), Bytes(png_get_rowbytes(png, info)));
    std::vector<png_bytep> pointers;
    for (int row = 0; row < height; ++row) {
        packedRow(row, rows[static_cast<std::size_t>(row)].data());
        pointers.push_back(rows[static_cast<std::size_t>(row)].data());
    }
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}

Bytes PngFile(const NorthUp& picture)
{
    PngOptions options{picture.channels == 4   ? PNG_COLOR_TYPE_RGBA
                       : picture.channels == 3 ? PNG_COLOR_TYPE_RGB
                                               : PNG_COLOR_TYPE_GRAY};
    return PngFile(picture.width, picture.height, options, [&](int row, unsigned char* packed) {
        std::memcpy(
            packed, picture.At(row, 0), static_cast<std::size_t>(picture.width * picture.channels));
    });
}

NorthUp ReadPng(const Bytes& file)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    Require(png_image_begin_read_from_memory(&image, file.data(), file.size()) != 0, image.message);
    const bool alpha = (image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    image.format = alpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
    NorthUp picture =
        Blank(static_cast<int>(image.width), static_cast<int>(image.height), alpha ? 4 : 3);
    Require(png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr) != 0,
            image.message);
    Require(image.warning_or_error == 0, image.message);
    return picture;
}

int PngColourType(const Bytes& file)
{
    return file.at(25);
}

// JPEG

Bytes JpegFile(const NorthUp& picture, JpegKind kind, int quality, bool restarts)
{
    jpeg_compress_struct jpeg;
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &memory, &size);
    jpeg.image_width = static_cast<JDIMENSION>(picture.width);
    jpeg.image_height = static_cast<JDIMENSION>(picture.height);
    jpeg.input_components = picture.channels;
    jpeg.in_color_space = picture.channels == 4   ? JCS_CMYK
                          : picture.channels == 1 ? JCS_GRAYSCALE
                                                  : JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, quality, TRUE);
    if (kind == JpegKind::Progressive)
        jpeg_simple_progression(&jpeg);
    if (kind == JpegKind::OddSampling) {
        // One colour sample for 4 x 2 pixels: allowed, but without a customary name.
        jpeg.comp_info[0].h_samp_factor = 4;
        jpeg.comp_info[0].v_samp_factor = 2;
    }
    jpeg.write_Adobe_marker = kind == JpegKind::AdobeCmyk ? TRUE : FALSE;
    jpeg.restart_interval = restarts ? 1 : 0;
    jpeg_start_compress(&jpeg, TRUE);
    for (int row = 0; row < picture.height; ++row) {
        Bytes line(picture.At(row, 0), picture.At(row, 0) + picture.width * picture.channels);
        JSAMPROW pointer = line.data();
        jpeg_write_scanlines(&jpeg, &pointer, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    Bytes file(memory, memory + size);
    std::free(memory);
    return file;
}

NorthUp ReadJpeg(const Bytes& file)
{
    jpeg_decompress_struct jpeg;
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, file.data(), file.size());
    jpeg_read_header(&jpeg, TRUE);
    jpeg.out_color_space = JCS_RGB;
    jpeg_start_decompress(&jpeg);
    NorthUp picture =
        Blank(static_cast<int>(jpeg.output_width), static_cast<int>(jpeg.output_height), 3);
    while (jpeg.output_scanline < jpeg.output_height) {
        JSAMPROW row = picture.At(static_cast<int>(jpeg.output_scanline), 0);
        jpeg_read_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
    Require(errors.num_warnings == 0, "JPEG warnings");
    return picture;
}

// WebP

Bytes WebpFile(const NorthUp& picture, bool lossless)
{
    unsigned char* memory = nullptr;
    const unsigned char* pixels = picture.pixels.data();
    const int stride = picture.width * picture.channels;
    const int w = picture.width;
    const int h = picture.height;
    std::size_t size = 0;
    if (picture.channels == 4)
        size = lossless ? WebPEncodeLosslessRGBA(pixels, w, h, stride, &memory)
                        : WebPEncodeRGBA(pixels, w, h, stride, 90, &memory);
    else
        size = lossless ? WebPEncodeLosslessRGB(pixels, w, h, stride, &memory)
                        : WebPEncodeRGB(pixels, w, h, stride, 90, &memory);
    Require(size > 0, "WebP did not encode");
    Bytes file(memory, memory + size);
    WebPFree(memory);
    return file;
}

NorthUp ReadWebp(const Bytes& file)
{
    WebPBitstreamFeatures features;
    Require(WebPGetFeatures(file.data(), file.size(), &features) == VP8_STATUS_OK, "no WebP");
    NorthUp picture = Blank(features.width, features.height, features.has_alpha != 0 ? 4 : 3);
    const int stride = picture.width * picture.channels;
    const auto* decoded =
        picture.channels == 4
            ? WebPDecodeRGBAInto(
                  file.data(), file.size(), picture.pixels.data(), picture.pixels.size(), stride)
            : WebPDecodeRGBInto(
                  file.data(), file.size(), picture.pixels.data(), picture.pixels.size(), stride);
    Require(decoded != nullptr, "WebP did not decode");
    return picture;
}

// GIF

namespace {

int AppendGif(GifFileType* gif, const GifByteType* bytes, int count)
{
    Bytes& file = *static_cast<Bytes*>(gif->UserData);
    file.insert(file.end(), bytes, bytes + count);
    return count;
}

void PutTransparency(GifFileType* gif, int index)
{
    GraphicsControlBlock control = {};
    control.TransparentColor = index;
    GifByteType block[4];
    EGifGCBToExtension(&control, block);
    Require(EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, 4, block) == GIF_OK, "GIF control");
}

void PutFrame(GifFileType* gif,
              const NorthUp& indices,
              const GifOptions& options,
              ColorMapObject* colours)
{
    Require(EGifPutImageDesc(gif,
                             options.left,
                             options.top,
                             indices.width,
                             indices.height,
                             options.interlaced,
                             options.localColours ? colours : nullptr) == GIF_OK,
            "GIF frame");
    const auto putRow = [&](int row) {
        Bytes line(indices.At(row, 0), indices.At(row, 0) + indices.width);
        Require(EGifPutLine(gif, line.data(), indices.width) == GIF_OK, "GIF row");
    };
    if (!options.interlaced)
        for (int row = 0; row < indices.height; ++row)
            putRow(row);
    else
        for (const auto& [first, step] : {std::pair{0, 8}, {4, 8}, {2, 4}, {1, 2}})
            for (int row = first; row < indices.height; row += step)
                putRow(row);
}

} // namespace

Bytes GifFile(const NorthUp& indices, const GifOptions& options)
{
    Bytes file;
    int error = 0;
    GifFileType* gif = EGifOpen(&file, AppendGif, &error);
    Require(gif != nullptr, "GIF did not open");
    EGifSetGifVersion(gif, true);
    ColorMapObject* colours = GifMakeMapObject(256, nullptr);
    for (int i = 0; i < 256; ++i)
        colours->Colors[i] = {static_cast<GifByteType>(i),
                              static_cast<GifByteType>(255 - i),
                              static_cast<GifByteType>(2 * i % 256)};
    Require(EGifPutScreenDesc(gif,
                              options.screenWidth,
                              options.screenHeight,
                              8,
                              0,
                              options.localColours ? nullptr : colours) == GIF_OK,
            "GIF screen");
    for (int frame = 0; frame < options.frames; ++frame) {
        if (options.transparentIndex >= 0)
            PutTransparency(gif, options.transparentIndex);
        PutFrame(gif, indices, options, colours);
    }
    GifFreeMapObject(colours);
    Require(EGifCloseFile(gif, &error) == GIF_OK, "GIF did not close");
    return file;
}

// TIFF

NorthUp ReadTiff(const Bytes& file)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path("read.tif");
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(file.data()),
               static_cast<std::streamsize>(file.size()));
    TIFF* tiff = TIFFOpen(path.c_str(), "r");
    Require(tiff != nullptr, "TIFF did not open");
    int width = 0;
    int height = 0;
    std::uint16_t channels = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &channels);
    NorthUp picture = Blank(width, height, channels);
    for (int row = 0; row < height; ++row)
        Require(TIFFReadScanline(tiff, picture.At(row, 0), static_cast<std::uint32_t>(row), 0) == 1,
                "TIFF row");
    TIFFClose(tiff);
    return picture;
}

// Files

Bytes FileBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> TemporaryFolder::Names() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace KxC::ImageTest
