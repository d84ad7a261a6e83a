// SPDX-License-Identifier: MIT
// One picture over an extent, from a raster.
#include "KxFile.h"
#include "KxImgUtility.h"
#include "KxTileFetcher.h"
#include "LogTexts.h"
#include "MosaicPicture.h"
#include "MosaicRows.h"
#include "MosaicTiles.h"
#include "Operation.h"
#include "PixelPositions.h"
#include "TileNumbers.h"
#include "TransformGrid.h"

#include <cstddef>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <vector>

namespace KxC {

namespace {

/// A line on the way out.
unsigned char FailWith(const char* text)
{
    KxFile::WriteLogInfo(text);
    return 0;
}

/// Where a picture's pixels are sampled.
enum class PixelPlaces {
    EdgeToEdge, ///< the first and last ones on the extent's edges
    Centres,    ///< in the middle of what each covers
};

/// What a picture is to show.
struct PictureGrid
{
    KxRect2d m_rect;
    int m_width;
    int m_height;
    PixelPlaces m_places;

    /// What the pixels are sampled from: tiles that only touch the extent need not be there.
    KxRect2d Reach() const
    {
        if (m_places == PixelPlaces::EdgeToEdge)
            return m_rect;
        constexpr double kToCentre = 0.499; // less than half, so that one pixel has a reach, too
        const double x = m_rect.Width() / m_width * kToCentre;
        const double y = m_rect.Height() / m_height * kToCentre;
        return {m_rect.m_dLeft + x, m_rect.m_dTop - y, m_rect.m_dRight - x, m_rect.m_dBottom + y};
    }
    PixelPositions Columns() const { return Along(m_rect.m_dLeft, m_rect.m_dRight, m_width); }
    PixelPositions Rows() const { return Along(m_rect.m_dBottom, m_rect.m_dTop, m_height); }

private:
    PixelPositions Along(double from, double to, int count) const
    {
        return m_places == PixelPlaces::EdgeToEdge ? PixelPositions::EdgeToEdge(from, to, count)
                                                   : PixelPositions::Centres(from, to, count);
    }
};

/// What a picture is made from and of.
struct Source
{
    const KxString& m_dataPath;
    const KxString& m_projString;
    ProjectStringType m_projType;
};

/// The raster tiles of one level under an extent.
struct Cover
{
    int m_level;
    TileRange m_range;
};

/// @return nothing where the raster has no such level, or does not reach under the extent
std::optional<Cover> FindCover(KxRasterDataAccessor& accessor,
                               const KxCoordSysTrans& transform,
                               const KxRect2d& rect,
                               int level)
{
    if (level < accessor.GetMinLevel() || level > accessor.GetMaxLevel() || !IsTileLevel(level))
        return std::nullopt;
    TileRange range = FindTileRange({rect.m_dLeft, rect.m_dBottom, rect.m_dRight, rect.m_dTop},
                                    rect.Width() * 0.125,
                                    rect.Height() * 0.125,
                                    TransformGrid(transform, level));
    if (!range.ClampTo(TilesPerAxis(level)) || !Covers(accessor, range, level))
        return std::nullopt;
    return Cover{level, range};
}

/// @return null where no tile under the extent has a picture
std::unique_ptr<MosaicPicture> Sample(const RasterSource& raster,
                                      const KxCoordSysTrans& transform,
                                      const Cover& cover,
                                      const PictureGrid& pixels)
{
    const TransformGrid grid(transform, cover.m_level);
    MosaicRows rows(grid, pixels.Columns());
    auto picture = std::make_unique<MosaicPicture>(pixels.m_width, pixels.m_height);
    // As much as the picture takes itself, or what is not much for any.
    MosaicTiles tiles(
        raster, cover.m_range, cover.m_level, MosaicTiles::kDefaultBudget + picture->GetBytes());
    const PixelPositions positions = pixels.Rows();
    std::vector<double> ys;
    for (std::size_t begin = 0; begin < positions.GetCount(); begin += ys.size()) {
        positions.Tell(begin, ys);
        for (const double y : ys) {
            picture->AddRow(rows, y, tiles);
            tiles.EndRow();
        }
    }
    tiles.AskTheRest();
    if (!tiles.HasImage())
        return nullptr;
    picture->End(tiles.NeedsAlpha());
    return picture;
}

unsigned char
WritePicture(const KxString& outputFile, const Source& source, const PictureGrid& pixels, int level)
{
    const KxCoordSysTrans* const transform =
        m_gCoordSysTransManager.GetKxCoordSysTrans(source.m_projString, source.m_projType);
    if (transform == nullptr)
        return FailWith(LogTexts::kNoCoordSys);
    KxRasterDataAccessor* const accessor =
        m_gRasterAccessorManager.OpenDataAccessor(source.m_dataPath);
    if (accessor == nullptr)
        return FailWith(LogTexts::kRasterNotOpened);
    const auto cover = FindCover(*accessor, *transform, pixels.Reach(), level);
    if (!cover)
        return 0;
    const TileRange& range = cover->m_range;
    if (range.Rows() <= 0 || range.Columns() <= 0)
        return 1;
    const RasterSource raster(*accessor, source.m_dataPath);
    if (!MosaicPicture::IsPossible(pixels.m_width, pixels.m_height) ||
        range.Rows() * range.Columns() > MosaicTiles::kMaxTiles)
        return MayHavePicture(*accessor, raster, range, cover->m_level)
                   ? FailWith(LogTexts::kPictureTooLarge)
                   : 1;
    const auto picture = Sample(raster, *transform, *cover, pixels);
    return picture != nullptr ? KxImgUtility::SaveImageFile(&picture->Image(), outputFile, 0) : 1;
}

/// Nothing is thrown at hosts but the want of memory for the picture itself.
/// @param write  answers what FetchImage does
template <class Write>
unsigned char WithinBoundary(Write write)
try {
    const Operation operation;
    return write();
} catch (const NoMemoryForPicture&) {
    throw std::bad_alloc(); // of a type that hosts know
} catch (const std::bad_alloc&) {
    return FailWith(LogTexts::kPictureTooLarge);
} catch (const std::exception&) {
    return 0;
}

bool IsNoExtent(const PictureGrid& pixels)
{
    return pixels.m_width == 0 || pixels.m_height == 0 || pixels.m_rect.Width() <= 0 ||
           pixels.m_rect.Height() <= 0;
}

} // namespace

unsigned char KxTileFetcher::FetchImage(const KxString& outputFile,
                                        const KxString& dataPath,
                                        const KxRect2d& rect,
                                        double resolution,
                                        const KxString& projString,
                                        ProjectStringType projType)
{
    return WithinBoundary([&] {
        const PictureGrid pixels{rect,
                                 TruncateToInt(rect.Width() / resolution),
                                 TruncateToInt(rect.Height() / resolution),
                                 PixelPlaces::EdgeToEdge};
        if (IsNoExtent(pixels))
            return FailWith(LogTexts::kNoExtent);
        return WritePicture(
            outputFile, {dataPath, projString, projType}, pixels, CalcTSZLevel(resolution));
    });
}

unsigned char KxTileFetcher::FetchImageOfPixels(const KxString& outputFile,
                                                const KxString& dataPath,
                                                const KxRect2d& rect,
                                                int width,
                                                int height,
                                                int level,
                                                const KxString& projString,
                                                ProjectStringType projType)
{
    return WithinBoundary([&] {
        const PictureGrid pixels{rect, width, height, PixelPlaces::Centres};
        if (IsNoExtent(pixels) || width < 1 || height < 1)
            return FailWith(LogTexts::kNoExtent);
        return WritePicture(outputFile, {dataPath, projString, projType}, pixels, level);
    });
}

} // namespace KxC
