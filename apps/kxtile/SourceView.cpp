// SPDX-License-Identifier: MIT
#include "SourceView.h"

#include "Canvas.h"
#include "Command.h"
#include "FetchedTile.h"
#include "HostTile.h"
#include "KxImgUtility.h"
#include "KxTileFetcher.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

namespace KxTileHost {

namespace {

constexpr Colour kGround{64, 68, 76};

/// A tile's address in the grid of a view, the row counted from the south.
struct ViewTile
{
    int m_column;
    int m_row;
    int m_level;
};

/// Hands a tile's picture to `paste`, or does not when there is none.
using Paste = std::function<void(const KxC::KxImageData&)>;
using Fetch = std::function<void(const ViewTile&, const Paste&)>;

ViewFrame FrameAround(int scheme, int tileSize, const GeoPoint& place, int level)
{
    const GridPosition centre = Locate(scheme, 0, place.ToWebMercator(), level);
    if (!centre.m_inside)
        throw CommandError(kExitWrongUsage,
                           fmt::format("{},{} lies outside the {} grid",
                                       place.m_lon,
                                       place.m_lat,
                                       NameOf(GridOf(scheme))));
    constexpr int half = ViewFrame::kSide / 2;
    return {scheme,
            level,
            tileSize,
            static_cast<long long>(std::floor(centre.m_column * tileSize)) - half,
            static_cast<long long>(std::floor(centre.m_row * tileSize)) - half};
}

int FloorDivide(long long pixels, int tileSize)
{
    const long long quotient = pixels / tileSize;
    return static_cast<int>(pixels % tileSize < 0 ? quotient - 1 : quotient);
}

/// Where a tile's south-west corner lies in the view, pixels from its south-west corner.
long long OffsetIn(long long viewStart, int index, int tileSize)
{
    return static_cast<long long>(index) * tileSize - viewStart;
}

/// Copies what of a tile's picture lies in the view. A picture of another size than the source
/// tells stays at its corner: that it does not fit is for the eye to see.
void PasteTile(SourceView& view, const ViewTile& tile, const KxC::KxImageData& picture)
{
    const ViewFrame& frame = view.m_frame;
    const long long left = OffsetIn(frame.m_left, tile.m_column, frame.m_tileSize);
    const long long bottom = OffsetIn(frame.m_bottom, tile.m_row, frame.m_tileSize);
    const int width = std::min(picture.GetWidth(), frame.m_tileSize);
    const int height = std::min(picture.GetHeight(), frame.m_tileSize);
    for (int row = 0; row < height; ++row) {
        const long long viewRow = bottom + row;
        if (viewRow < 0 || viewRow >= ViewFrame::kSide)
            continue;
        const unsigned char* pixel =
            picture.GetData() + static_cast<std::ptrdiff_t>(row) * picture.GetRowBytes();
        for (int column = 0; column < width; ++column, pixel += picture.GetPixelSize()) {
            const bool transparent = picture.GetPixelSize() == 4 && pixel[3] == 0;
            if (!transparent)
                view.m_image->SetValue(
                    static_cast<int>(viewRow), static_cast<int>(left + column), pixel, 3);
        }
    }
    ++view.m_tiles;
}

SourceView MakeView(const ViewFrame& frame)
{
    SourceView view;
    view.m_frame = frame;
    view.m_image = std::make_unique<KxC::KxImageData>(
        ViewFrame::kSide, ViewFrame::kSide, KxC::KxPixelFormat_RGB);
    Canvas(*view.m_image).Fill(0, 0, ViewFrame::kSide, ViewFrame::kSide, kGround);
    return view;
}

/// The Baidu grid goes on in all directions; the others end.
bool GridHas(const ViewFrame& frame, int column, int row)
{
    const long long count = 1LL << frame.m_level;
    return GridOf(frame.m_scheme) == GridKind::Baidu ||
           (column >= 0 && row >= 0 && column < count && row < count);
}

SourceView Assemble(const ViewFrame& frame, const Fetch& fetch)
{
    SourceView view = MakeView(frame);
    const int size = frame.m_tileSize;
    const int lastRow = FloorDivide(frame.m_bottom + ViewFrame::kSide - 1, size);
    const int lastColumn = FloorDivide(frame.m_left + ViewFrame::kSide - 1, size);
    for (int row = FloorDivide(frame.m_bottom, size); row <= lastRow; ++row)
        for (int column = FloorDivide(frame.m_left, size); column <= lastColumn; ++column) {
            const ViewTile tile{column, row, frame.m_level};
            if (GridHas(frame, column, row))
                fetch(tile, [&](const KxC::KxImageData& image) { PasteTile(view, tile, image); });
        }
    return view;
}

void FetchAsItComes(KxC::KxTSDParamItem& source,
                    const ViewTile& tile,
                    int timeoutMs,
                    const Paste& paste)
{
    KxC::KxWMImageTileData* data = nullptr;
    const KxC::NetError result = KxC::KxTileFetcher::FetchWMData(
        data, &source, tile.m_level, tile.m_row, tile.m_column, timeoutMs);
    const std::unique_ptr<KxC::KxWMImageTileData> owned(
        KxC::KxTileFetcher::m_sbMemCacheUsed != 0 ? nullptr : data);
    if (result == KxC::NetError_Failure)
        ThrowFetchFailure(source);
    if (data != nullptr && data->GetImage() != nullptr)
        paste(*data->GetImage());
}

void FetchAligned(KxC::KxTSDParamItem& source,
                  const ViewTile& tile,
                  const AlignedTileOptions& options,
                  const Paste& paste)
try {
    const int northRow = (1 << tile.m_level) - 1 - tile.m_row;
    const FetchedTile fetched =
        FetchAlignedTile(source, {tile.m_column, northRow, tile.m_level}, options);
    const std::unique_ptr<KxC::KxImageData> image(KxC::KxImgUtility::LoadImageData(
        fetched.m_bytes->GetData(), fetched.m_bytes->GetSize(), "", 1, 1));
    if (image != nullptr)
        paste(*image);
} catch (const CommandError& error) {
    // Where the source has no tile, the view stays empty.
    if (error.m_exitCode != kExitNoTile)
        throw;
}

} // namespace

KxC::KxPoint2d ViewFrame::PixelOf(const GeoPoint& place) const
{
    const GridPosition position = Locate(m_scheme, 0, place.ToWebMercator(), m_level);
    constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
    if (!position.m_inside)
        return {nowhere, nowhere};
    return {position.m_column * m_tileSize - static_cast<double>(m_left),
            static_cast<double>(m_bottom + kSide) - position.m_row * m_tileSize};
}

SourceView
ViewAsItComes(KxC::KxTSDParamItem& source, const GeoPoint& place, int level, int timeoutMs)
{
    const ViewFrame frame = FrameAround(source.m_nTileScheme, source.m_nTileSize, place, level);
    return Assemble(frame, [&](const ViewTile& tile, const Paste& paste) {
        FetchAsItComes(source, tile, timeoutMs, paste);
    });
}

SourceView ViewAligned(
    KxC::KxTSDParamItem& source, const GeoPoint& place, int level, bool blockCopy, int timeoutMs)
{
    if (IsStandardTiling(source.m_nTileScheme, source.m_nDatum))
        return ViewAsItComes(source, place, level, timeoutMs);
    const AlignedTileOptions options{source.m_nTileSize, blockCopy, timeoutMs};
    const ViewFrame frame = FrameAround(kSchemeWebMercator, options.m_size, place, level);
    return Assemble(frame, [&](const ViewTile& tile, const Paste& paste) {
        FetchAligned(source, tile, options, paste);
    });
}

SourceView
ViewUnshifted(KxC::KxTSDParamItem& source, const GeoPoint& place, int level, int timeoutMs)
{
    // The record is this program's own, and its tiles are kept as they come.
    const int datum = std::exchange(source.m_nDatum, 0);
    try {
        SourceView view = ViewAligned(source, place, level, false, timeoutMs);
        source.m_nDatum = datum;
        return view;
    } catch (...) {
        source.m_nDatum = datum;
        throw;
    }
}

} // namespace KxTileHost
