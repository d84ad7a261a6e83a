// SPDX-License-Identifier: MIT
#include "KxImgUtility.h"
#include "KxTileFetcher.h"
#include "Operation.h"
#include "TileBody.h"
#include "TileRequest.h"
#include "TileUrl.h"

#include <exception>
#include <memory>
#include <new>

namespace KxC {

namespace {

/// Replaces a compressed body by what it inflates to.
bool InflateInPlace(KxRawData& body)
{
    KxRawData inflated;
    if (!InflateBody(body, inflated))
        return false;
    const unsigned int size = inflated.GetSize();
    body.Attach(inflated.Detach(), size);
    return true;
}

} // namespace

unsigned char KxTileFetcher::FetchWMTile4(KxRawData*& out,
                                          KxTSDParamItem* source,
                                          int x,
                                          int y,
                                          int z,
                                          int /*tileSize*/,
                                          int requestParam)
try {
    if (source == nullptr)
        return 0;
    const Operation operation;
    out = nullptr;
    const KxString url = BuildTileUrl(*source, {z, y, x}, RowRule::AsGiven);
    std::unique_ptr<KxRawData> tile(new (std::nothrow) KxRawData);
    if (tile == nullptr ||
        RequestTile(*tile, *source, url, source->m_strUserAgent, requestParam) == NetError_Failure)
        return 0;
    if (tile->GetSize() > 0) {
        if (IsGzipSource(*source) && !InflateInPlace(*tile))
            return 0;
        if (!IsWholeImage(*tile))
            return 0;
        tile->SetExt(KxImgUtility::TellImgExt(tile->GetData(), tile->GetSize()));
    }
    out = tile.release();
    return 1;
} catch (const std::exception&) {
    out = nullptr;
    return 0;
}

} // namespace KxC
