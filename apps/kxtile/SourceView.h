// SPDX-License-Identifier: MIT
#pragma once

#include "GeoPoint.h"
#include "KxImageData.h"
#include "KxTSDParam.h"
#include "SourceGrid.h"

#include <memory>

namespace KxTileHost {

/// Where a square view lies in a grid, without any datum shift.
struct ViewFrame
{
    static constexpr int kSide = 512; ///< pixels

    int m_scheme = 0;
    int m_level = 0;
    int m_tileSize = 256;   ///< pixels
    long long m_left = 0;   ///< pixels of the grid west of the view
    long long m_bottom = 0; ///< pixels of the grid south of the view

    /// Where a place is drawn, in pixels from the view's left and upper edge; may lie outside the
    /// view, and is no number for places that the grid has not.
    KxC::KxPoint2d PixelOf(const GeoPoint& place) const;
};

/// The tiles around a place, pasted together.
struct SourceView
{
    ViewFrame m_frame;
    std::unique_ptr<KxC::KxImageData> m_image; ///< RGB, ViewFrame::kSide pixels a side
    int m_tiles = 0;                           ///< that had a picture
};

/// The source's own tiles as they come, placed as by a program that knows nothing of datums.
/// @throws CommandError when a tile cannot be fetched
SourceView
ViewAsItComes(KxC::KxTSDParamItem& source, const GeoPoint& place, int level, int timeoutMs);

/// The source in the Web Mercator tiling as a program shows it that knows its grid but nothing of
/// datums.
SourceView
ViewUnshifted(KxC::KxTSDParamItem& source, const GeoPoint& place, int level, int timeoutMs);

/// The source's tiles aligned to the Web Mercator tiling; where they are its tiles already, these.
/// @param blockCopy  asks for the library's own choice, which copies blocks where it can
SourceView ViewAligned(
    KxC::KxTSDParamItem& source, const GeoPoint& place, int level, bool blockCopy, int timeoutMs);

} // namespace KxTileHost
