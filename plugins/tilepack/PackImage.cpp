// SPDX-License-Identifier: MIT
#include "PackImage.h"

#include "KxImgUtility.h"
#include "KxMath.h"

#include <array>
#include <cmath>
#include <cstring>
#include <new>
#include <numbers>
#include <utility>

namespace KxC {

namespace {

constexpr int kSide = 256;
constexpr int kOpaque = 255;

/// A place on the Web Mercator grid in south-north direction.
struct SourceRow
{
    int m_nTile = -1;     ///< row of tiles from the south; -1 beyond the grid's edges
    double m_share = 0.0; ///< within the tile, from its south edge
};

SourceRow SourceRowOf(double latitude, int level)
{
    const double radians = latitude * std::numbers::pi / 180.0;
    const double y = KxMath::LatLon2WebMecator(0.0, radians).y;
    const double row = (y / KxMath::kHalfWorld + 1.0) / 2.0 * std::ldexp(1.0, level);
    if (!(row >= 0.0 && row < std::ldexp(1.0, level)))
        return {};
    return {static_cast<int>(std::floor(row)), row - std::floor(row)};
}

std::unique_ptr<KxImageData> NewImage(int formatCode)
{
    auto image = std::make_unique<KxImageData>(kSide, kSide, formatCode);
    if (image->GetData() == nullptr)
        throw std::bad_alloc();
    return image;
}

unsigned char* RowOf(KxImageData& image, int row)
{
    return image.GetData() + static_cast<std::ptrdiff_t>(row) * image.GetRowBytes();
}

std::unique_ptr<KxImageData> Decode(TilePack& pack, const TileAddress& address, std::string& fault)
try {
    TileBytes bytes;
    if (!pack.Read(address, bytes))
        return nullptr;
    std::unique_ptr<KxImageData> image(
        KxImgUtility::LoadImageData(bytes.Data(), bytes.Size(), "", 0, 0));
    if (image == nullptr)
        throw PackError("a picture in it is damaged");
    return image;
} catch (const PackError& error) {
    fault = error.what();
    return nullptr;
}

/// Copies the pixels under one row of the tile. Columns of tiles are the same on both grids.
void CopyRow(const KxImageData& source, double share, unsigned char* to)
{
    const int pixelSize = source.GetPixelSize();
    const int row = static_cast<int>(share * source.GetHeight());
    const unsigned char* const from =
        source.GetData() + static_cast<std::ptrdiff_t>(row) * source.GetRowBytes();
    for (int col = 0; col < kSide; ++col, to += 4) {
        const auto column =
            static_cast<std::ptrdiff_t>((2LL * col + 1) * source.GetWidth() / (2LL * kSide));
        const unsigned char* const pixel = from + column * pixelSize;
        std::memcpy(to, pixel, 3);
        to[3] = pixelSize == 4 ? pixel[3] : kOpaque;
    }
}

bool IsOpaque(KxImageData& image)
{
    for (int row = 0; row < kSide; ++row) {
        const unsigned char* const pixels = RowOf(image, row);
        for (int col = 0; col < kSide; ++col)
            if (pixels[4 * col + 3] != kOpaque)
                return false;
    }
    return true;
}

std::unique_ptr<KxImageData> WithoutAlpha(KxImageData& image)
{
    std::unique_ptr<KxImageData> result = NewImage(KxPixelFormat_RGB);
    for (int row = 0; row < kSide; ++row) {
        const unsigned char* const from = RowOf(image, row);
        unsigned char* const to = RowOf(*result, row);
        for (std::ptrdiff_t col = 0; col < kSide; ++col)
            std::memcpy(to + 3 * col, from + 4 * col, 3);
    }
    return result;
}

/// Fills the rows that have a stored tile; these are asked for in order, each once.
bool Fill(TilePack& pack, const TileAddress& address, KxImageData& image, std::string& fault)
{
    KxRect2d bounds;
    KxMath::CalcTileBounds(bounds, address.m_nLevel, address.m_nRow, address.m_nCol);
    const double pixel = (bounds.m_dTop - bounds.m_dBottom) / kSide;
    std::unique_ptr<KxImageData> source;
    int sourceRow = -1;
    bool found = false;
    for (int row = 0; row < kSide; ++row) {
        const SourceRow place =
            SourceRowOf(bounds.m_dBottom + (row + 0.5) * pixel, address.m_nLevel);
        if (place.m_nTile < 0)
            continue;
        if (std::exchange(sourceRow, place.m_nTile) != place.m_nTile)
            source = Decode(pack, {address.m_nLevel, place.m_nTile, address.m_nCol}, fault);
        if (source == nullptr)
            continue;
        CopyRow(*source, place.m_share, RowOf(image, row));
        found = true;
    }
    return found;
}

} // namespace

std::unique_ptr<KxImageData>
MakePackImage(TilePack& pack, const TileAddress& address, std::string& fault)
{
    if (!address.IsOnGrid() || address.m_nLevel < pack.MinLevel() ||
        address.m_nLevel > pack.MaxLevel())
        return nullptr;
    std::unique_ptr<KxImageData> image = NewImage(KxPixelFormat_RGBA);
    if (!Fill(pack, address, *image, fault))
        return nullptr;
    return IsOpaque(*image) ? WithoutAlpha(*image) : std::move(image);
}

} // namespace KxC
