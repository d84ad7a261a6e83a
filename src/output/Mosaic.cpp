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
#include "Sampler.h"
#include "TileNumbers.h"
#include "TransformGrid.h"

#include <exception>
#include <new>
#include <optional>

namespace KxC {

namespace {

/// A line on the way out.
unsigned char FailWith(const char* text)
{
    KxFile::WriteLogInfo(text);
    return 0;
}

struct Size
{
    int m_width;
    int m_height;

    bool FitsPicture() const
    {
        return m_width >= 1 && m_height >= 1 && m_width <= KxImageData::kMaxSide &&
               m_height <= KxImageData::kMaxSide &&
               static_cast<long long>(m_width) * m_height <= KxImageData::kMaxPixels;
    }
};

Size SizeOf(const KxRect2d& rect, double resolution)
{
    return {TruncateToInt(rect.Width() / resolution), TruncateToInt(rect.Height() / resolution)};
}

/// An extent, and the raster tiles of one level under it.
struct Cover
{
    const KxRect2d& m_rect;
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
    return Cover{rect, level, range};
}

/// @return nothing where no tile under the extent has a picture
std::optional<MosaicPicture> Sample(const RasterSource& raster,
                                    const KxCoordSysTrans& transform,
                                    const Cover& cover,
                                    const Size& size)
{
    const KxRect2d& rect = cover.m_rect;
    const TransformGrid grid(transform, cover.m_level);
    const auto positions = [](double from, double to, int count) {
        return SamplePositions(from, to, (to - from) / (count - 1), count);
    };
    MosaicRows rows(grid, positions(rect.m_dLeft, rect.m_dRight, size.m_width));
    MosaicTiles tiles(raster, cover.m_range, cover.m_level);
    MosaicPicture picture(size.m_width, size.m_height);
    for (const double y : positions(rect.m_dBottom, rect.m_dTop, size.m_height)) {
        picture.AddRow(rows, y, tiles);
        tiles.EndRow();
    }
    tiles.AskTheRest();
    if (!tiles.HasImage())
        return std::nullopt;
    picture.End(tiles.NeedsAlpha());
    return picture;
}

} // namespace

unsigned char KxTileFetcher::FetchImage(const KxString& outputFile,
                                        const KxString& dataPath,
                                        const KxRect2d& rect,
                                        double resolution,
                                        const KxString& projString,
                                        ProjectStringType projType)
try {
    const Operation operation;
    const Size size = SizeOf(rect, resolution);
    if (size.m_width == 0 || size.m_height == 0 || rect.Width() <= 0 || rect.Height() <= 0)
        return FailWith(LogTexts::kNoExtent);
    const KxCoordSysTrans* const transform =
        m_gCoordSysTransManager.GetKxCoordSysTrans(projString, projType);
    if (transform == nullptr)
        return FailWith(LogTexts::kNoCoordSys);
    KxRasterDataAccessor* const accessor = m_gRasterAccessorManager.OpenDataAccessor(dataPath);
    if (accessor == nullptr)
        return FailWith(LogTexts::kRasterNotOpened);
    const auto cover = FindCover(*accessor, *transform, rect, CalcTSZLevel(resolution));
    if (!cover)
        return 0;
    if (cover->m_range.Rows() <= 0 || cover->m_range.Columns() <= 0)
        return 1;
    if (!size.FitsPicture() ||
        cover->m_range.Rows() * cover->m_range.Columns() > MosaicTiles::kMaxTiles)
        return FailWith(LogTexts::kPictureTooLarge);
    const auto picture = Sample(RasterSource(*accessor, dataPath), *transform, *cover, size);
    return picture ? KxImgUtility::SaveImageFile(&picture->Image(), outputFile, 0) : 1;
} catch (const NoMemoryForPicture&) {
    throw std::bad_alloc(); // of a type that hosts know
} catch (const std::bad_alloc&) {
    return FailWith(LogTexts::kPictureTooLarge);
} catch (const std::exception&) {
    return 0;
}

} // namespace KxC
