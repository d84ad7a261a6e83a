// SPDX-License-Identifier: MIT
#include "ImageCodecs.h"

#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace KxC::Imaging {

namespace {

struct Input
{
    ByteSpan left;
};

int ReadInput(GifFileType* gif, GifByteType* out, int count)
{
    Input& input = *static_cast<Input*>(gif->UserData);
    const std::size_t taken = std::min(input.left.size(), static_cast<std::size_t>(count));
    if (taken > 0)
        std::memcpy(out, input.left.data(), taken);
    input.left = input.left.subspan(taken);
    return static_cast<int>(taken);
}

struct CloseGif
{
    void operator()(GifFileType* gif) const
    {
        int error = 0;
        DGifCloseFile(gif, &error);
    }
};
using Gif = std::unique_ptr<GifFileType, CloseGif>;

/// Reads one extension with all its blocks; a graphics control gives the transparent colour.
bool ReadExtension(GifFileType* gif, int& transparentIndex)
{
    int code = 0;
    GifByteType* block = nullptr;
    if (DGifGetExtension(gif, &code, &block) == GIF_ERROR)
        return false;
    while (block != nullptr) {
        GraphicsControlBlock control;
        if (code == GRAPHICS_EXT_FUNC_CODE &&
            DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK)
            transparentIndex = control.TransparentColor;
        if (DGifGetExtensionNext(gif, &block) == GIF_ERROR)
            return false;
    }
    return true;
}

/// Moves to the first frame.
/// @return false when there is none
bool SeekFrame(GifFileType* gif, int& transparentIndex)
{
    GifRecordType record = UNDEFINED_RECORD_TYPE;
    while (DGifGetRecordType(gif, &record) == GIF_OK) {
        if (record == IMAGE_DESC_RECORD_TYPE)
            return DGifGetImageDesc(gif) == GIF_OK;
        if (record != EXTENSION_RECORD_TYPE || !ReadExtension(gif, transparentIndex))
            return false;
    }
    return false;
}

bool IsFrameAllowed(const GifImageDesc& frame)
{
    return frame.Width >= 1 && frame.Height >= 1 && frame.Width <= KxImageData::kMaxSide &&
           frame.Height <= KxImageData::kMaxSide &&
           static_cast<long long>(frame.Width) * frame.Height <= KxImageData::kMaxPixels;
}

bool CoversScreen(const GifFileType& gif)
{
    const GifImageDesc& frame = gif.Image;
    return frame.Left == 0 && frame.Top == 0 && frame.Width >= gif.SWidth &&
           frame.Height >= gif.SHeight;
}

/// Lays rows of a frame onto a picture.
class FrameComposer
{
public:
    FrameComposer(KxImageData& picture,
                  const GifImageDesc& frame,
                  const ColorMapObject& colours,
                  int transparentIndex)
        : m_picture(picture), m_frame(frame), m_colours(colours),
          m_transparentIndex(transparentIndex)
    {
    }

    /// @param row  of the frame, from its north edge; what lies outside the picture is dropped
    void Compose(int row, const std::vector<GifPixelType>& indices)
    {
        const int pictureRow = m_frame.Top + row;
        if (pictureRow >= m_picture.GetHeight())
            return;
        const int pixelSize = m_picture.GetPixelSize();
        const int count = std::min(m_frame.Width, m_picture.GetWidth() - m_frame.Left);
        unsigned char* line = RowFromNorth(m_picture, pictureRow);
        for (int column = 0; column < count; ++column)
            WritePixel(indices[static_cast<std::size_t>(column)],
                       line + static_cast<std::ptrdiff_t>(m_frame.Left + column) * pixelSize);
    }

private:
    void WritePixel(int index, unsigned char* pixel) const
    {
        if (index == m_transparentIndex)
            return;
        // An index beyond the table stands for black, as the zeroed pixel is.
        if (index < m_colours.ColorCount) {
            const GifColorType& colour = m_colours.Colors[index];
            pixel[0] = colour.Red;
            pixel[1] = colour.Green;
            pixel[2] = colour.Blue;
        }
        if (m_picture.GetPixelSize() == 4)
            pixel[3] = 255;
    }

    KxImageData& m_picture;
    const GifImageDesc& m_frame;
    const ColorMapObject& m_colours;
    int m_transparentIndex;
};

/// An interlaced frame comes in four passes of every 8th, 8th, 4th and 2nd row.
struct Pass
{
    int first;
    int step;
};
constexpr Pass kWhole[] = {{0, 1}};
constexpr Pass kInterlaced[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};

bool ReadFrame(GifFileType* gif, FrameComposer& composer)
{
    std::vector<GifPixelType> line(static_cast<std::size_t>(gif->Image.Width));
    const std::span<const Pass> passes =
        gif->Image.Interlace ? std::span<const Pass>(kInterlaced) : std::span<const Pass>(kWhole);
    for (const Pass& pass : passes)
        for (int row = pass.first; row < gif->Image.Height; row += pass.step) {
            if (DGifGetLine(gif, line.data(), gif->Image.Width) == GIF_ERROR)
                return false;
            composer.Compose(row, line);
        }
    return true;
}

} // namespace

std::unique_ptr<KxImageData> DecodeGif(ByteSpan bytes)
{
    Input input{bytes};
    int error = 0;
    const Gif gif(DGifOpen(&input, ReadInput, &error));
    int transparentIndex = NO_TRANSPARENT_COLOR;
    if (gif == nullptr || !SeekFrame(gif.get(), transparentIndex) || !IsFrameAllowed(gif->Image))
        return nullptr;
    const ColorMapObject* colours =
        gif->Image.ColorMap != nullptr ? gif->Image.ColorMap : gif->SColorMap;
    const bool alpha = transparentIndex != NO_TRANSPARENT_COLOR || !CoversScreen(*gif);
    auto picture = NewPicture(gif->SWidth, gif->SHeight, alpha);
    if (colours == nullptr || picture == nullptr)
        return nullptr;
    FrameComposer composer(*picture, gif->Image, *colours, transparentIndex);
    return ReadFrame(gif.get(), composer) ? std::move(picture) : nullptr;
}

} // namespace KxC::Imaging
