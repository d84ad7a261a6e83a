// SPDX-License-Identifier: MIT
#include "serve/DoubleTile.h"

#include "KxImageData.h"
#include "KxImgUtility.h"
#include "serve/Transcode.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>

namespace KxTileHost::Serve {

namespace {

using KxC::KxImageData;
using KxC::KxRawData;

constexpr int kEdge = 2 * kTileSize;

/// A square of pixels, from its south-west corner.
struct Part
{
    int m_column;
    int m_row;
    int m_edge;
};

std::unique_ptr<KxImageData> Decode(const KxRawData& bytes)
{
    return std::unique_ptr<KxImageData>(
        KxC::KxImgUtility::LoadImageData(bytes.GetData(), bytes.GetSize(), "", 1, 1));
}

bool HasPicture(const std::unique_ptr<KxRawData>& bytes)
{
    return bytes != nullptr && bytes->GetSize() > 0;
}

const unsigned char* RowOf(const KxImageData& image, int row)
{
    return image.GetData() + static_cast<std::ptrdiff_t>(row) * image.GetRowBytes();
}

/// Puts the pictures together in RGBA, whether they have transparency or not.
class Canvas
{
public:
    bool IsGood() const { return m_image.GetData() != nullptr; }

    /// Draws a part of a picture into a part of the canvas, the nearest pixel of it each time.
    /// @param fraction  of the picture: where it begins and how much of it is drawn, in halves
    void Draw(const KxImageData& from, const Part& halves, const Part& to)
    {
        for (int row = 0; row < to.m_edge; ++row) {
            const unsigned char* const source =
                RowOf(from, At(from.GetHeight(), halves.m_row, halves.m_edge, row, to.m_edge));
            unsigned char* target =
                m_image.GetData() +
                static_cast<std::ptrdiff_t>(to.m_row + row) * m_image.GetRowBytes() +
                std::ptrdiff_t{4} * to.m_column;
            for (int column = 0; column < to.m_edge; ++column, target += 4)
                CopyPixel(
                    source +
                        static_cast<std::ptrdiff_t>(from.GetPixelSize()) *
                            At(from.GetWidth(), halves.m_column, halves.m_edge, column, to.m_edge),
                    from.GetPixelSize(),
                    target);
        }
    }

    KxImageData& Image() { return m_image; }

    /// Whether nothing shows through anywhere.
    bool IsOpaque() const
    {
        for (int row = 0; row < kEdge; ++row)
            for (int column = 0; column < kEdge; ++column)
                if (RowOf(m_image, row)[4 * column + 3] != kOpaque)
                    return false;
        return true;
    }

private:
    static constexpr unsigned char kOpaque = 255;

    /// The pixel of a picture for one of a number of places across it, or across a half of it.
    static int At(int pixels, int firstHalf, int halves, int place, int places)
    {
        const long long first = static_cast<long long>(pixels) * firstHalf * places;
        const long long along = static_cast<long long>(pixels) * halves * place;
        return static_cast<int>((first + along) / (2LL * places));
    }

    static void CopyPixel(const unsigned char* from, int size, unsigned char* to)
    {
        std::memcpy(to, from, 3);
        to[3] = size == 4 ? from[3] : kOpaque;
    }

    KxImageData m_image{kEdge, kEdge, KxC::KxPixelFormat_RGBA};
};

/// Where a quarter lies: rows count from the south.
Part PlaceOf(std::size_t quarter, int edge)
{
    const int column = quarter % 2 == 0 ? 0 : edge;
    const int row = quarter < 2 ? edge : 0;
    return {column, row, edge};
}

/// @return false when a part does not decode
bool DrawParts(Canvas& canvas, const DoubleTileParts& parts, const KxImageData* own)
{
    constexpr Part kWhole{0, 0, 2};
    for (std::size_t quarter = 0; quarter < parts.m_quarters.size(); ++quarter) {
        const Part place = PlaceOf(quarter, kTileSize);
        if (!HasPicture(parts.m_quarters[quarter])) {
            if (own != nullptr)
                canvas.Draw(*own, PlaceOf(quarter, 1), place);
            continue;
        }
        const auto picture = Decode(*parts.m_quarters[quarter]);
        if (picture == nullptr)
            return false;
        canvas.Draw(*picture, kWhole, place);
    }
    return true;
}

/// The parts' own format; nothing where they differ.
std::optional<TileFormat> FormatOfParts(const DoubleTileParts& parts)
{
    std::optional<TileFormat> common;
    const auto agrees = [&](const std::unique_ptr<KxRawData>& bytes) {
        if (!HasPicture(bytes))
            return true;
        const TileFormat format = FormatOf(bytes->GetData(), bytes->GetSize());
        if (!common)
            common = format;
        return *common == format;
    };
    const bool isCommon = agrees(parts.m_own) &&
                          std::all_of(parts.m_quarters.begin(), parts.m_quarters.end(), agrees);
    return isCommon ? common : std::nullopt;
}

TileFormat FormatFor(const DoubleTileParts& parts, bool isOpaque)
{
    const TileFormat common = FormatOfParts(parts).value_or(TileFormat::Png);
    const bool fits = common == TileFormat::WebP || (common == TileFormat::Jpeg && isOpaque);
    return fits ? common : TileFormat::Png;
}

} // namespace

bool DoubleTileParts::IsEmpty() const
{
    return !HasPicture(m_own) && std::none_of(m_quarters.begin(), m_quarters.end(), HasPicture);
}

std::unique_ptr<KxRawData> MakeDoubleTile(DoubleTileParts parts, TileFormat format)
{
    if (parts.IsEmpty())
        return nullptr;
    const auto own = HasPicture(parts.m_own) ? Decode(*parts.m_own) : nullptr;
    if (HasPicture(parts.m_own) && own == nullptr)
        return nullptr;
    if (own != nullptr && own->GetWidth() == kEdge && own->GetHeight() == kEdge)
        return std::move(parts.m_own);
    Canvas canvas;
    if (!canvas.IsGood() || !DrawParts(canvas, parts, own.get()))
        return nullptr;
    const bool isOpaque = canvas.IsOpaque();
    if (isOpaque)
        canvas.Image().DropAlpha();
    return EncodePicture(canvas.Image(),
                         format == TileFormat::Natural ? FormatFor(parts, isOpaque) : format);
}

} // namespace KxTileHost::Serve
