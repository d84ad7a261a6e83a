// SPDX-License-Identifier: MIT
#include "ImageCodecs.h"

#include <png.h>

#include <csetjmp>
#include <cstring>
#include <utility>
#include <vector>

namespace KxC::Imaging {

namespace {

// libpng leaves through longjmp. Every function that sets a jump below holds trivial objects only;
// what needs a destructor lives in its caller.

/// Deflate turns a byte into at most 1032: less input cannot hold the picture.
constexpr unsigned long long kMostPerByte = 1032;

struct Input
{
    const unsigned char* bytes;
    std::size_t left;
};

[[noreturn]] void LeaveOnError(png_structp png, png_const_charp /*message*/)
{
    png_longjmp(png, 1);
}

void IgnoreWarning(png_structp /*png*/, png_const_charp /*message*/) {}

void ReadInput(png_structp png, png_bytep out, std::size_t count)
{
    Input& input = *static_cast<Input*>(png_get_io_ptr(png));
    if (count > input.left)
        png_error(png, "end of input");
    std::memcpy(out, input.bytes, count);
    input.bytes += count;
    input.left -= count;
}

/// The pair of structures that libpng works on.
class PngStructs
{
public:
    PngStructs()
        : png(png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, LeaveOnError, IgnoreWarning)),
          info(png == nullptr ? nullptr : png_create_info_struct(png))
    {
    }
    ~PngStructs() { png_destroy_read_struct(&png, &info, nullptr); }
    PngStructs(const PngStructs&) = delete;
    PngStructs& operator=(const PngStructs&) = delete;

    png_structp png;
    png_infop info;
};

/// Profiles and texts may inflate to any size and change no pixel here.
void SkipChunksWithoutPixels(png_structp png)
{
    static constexpr png_byte kNames[] = "iCCP\0iTXt\0tEXt\0zTXt\0eXIf\0sPLT\0hIST";
    constexpr int kCount = sizeof kNames / 5;
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, kNames, kCount);
}

bool ReadHeader(png_structp png, png_infop info, Input* input)
{
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_set_user_limits(png, KxImageData::kMaxSide, KxImageData::kMaxSide);
    SkipChunksWithoutPixels(png);
    png_set_read_fn(png, input, ReadInput);
    png_read_info(png, info);
    return true;
}

bool CanHoldPicture(png_structp png, png_infop info, std::size_t fileSize)
{
    const unsigned long long rowSize = png_get_rowbytes(png, info);
    return rowSize * png_get_image_height(png, info) <= fileSize * kMostPerByte;
}

bool HasTransparency(png_structp png, png_infop info)
{
    return (png_get_color_type(png, info) & PNG_COLOR_MASK_ALPHA) != 0 ||
           png_get_valid(png, info, PNG_INFO_tRNS) != 0;
}

/// Asks for 8 bits a channel, R, G, B and, where the file has it, A.
bool ReadAsColour(png_structp png, png_infop info, bool alpha)
{
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_set_expand(png);
    png_set_scale_16(png);
    png_set_gray_to_rgb(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    const std::size_t pixelSize = alpha ? 4 : 3;
    return png_get_rowbytes(png, info) == pixelSize * png_get_image_width(png, info);
}

bool ReadRows(png_structp png, png_bytepp rows)
{
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_read_image(png, rows);
    return true;
}

std::vector<png_bytep> RowsFromNorth(KxImageData& picture)
{
    std::vector<png_bytep> rows(static_cast<std::size_t>(picture.GetHeight()));
    for (std::size_t row = 0; row < rows.size(); ++row)
        rows[row] = RowFromNorth(picture, static_cast<int>(row));
    return rows;
}

} // namespace

std::unique_ptr<KxImageData> DecodePng(ByteSpan bytes)
{
    Input input{bytes.data(), bytes.size()};
    PngStructs structs;
    if (structs.info == nullptr || !ReadHeader(structs.png, structs.info, &input) ||
        !CanHoldPicture(structs.png, structs.info, bytes.size()))
        return nullptr;
    const bool alpha = HasTransparency(structs.png, structs.info);
    auto picture = NewPicture(png_get_image_width(structs.png, structs.info),
                              png_get_image_height(structs.png, structs.info),
                              alpha);
    if (picture == nullptr || !ReadAsColour(structs.png, structs.info, alpha))
        return nullptr;
    std::vector<png_bytep> rows = RowsFromNorth(*picture);
    return ReadRows(structs.png, rows.data()) ? std::move(picture) : nullptr;
}

} // namespace KxC::Imaging
