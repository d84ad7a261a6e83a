// SPDX-License-Identifier: MIT
#pragma once

#include "KxTileFetcher.h"
#include "OriginProcess.h"
#include "unit/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace KxC::Testing {

using Pixels = std::vector<unsigned char>;

/// The pixels of a picture, rows from the south; empty for none.
inline Pixels PixelsOf(const KxImageData* image)
{
    if (image == nullptr)
        return {};
    const auto bytes = static_cast<std::size_t>(image->GetRowBytes()) *
                       static_cast<std::size_t>(image->GetHeight());
    return {image->GetData(), image->GetData() + bytes};
}

/// A service of its own, empty caches, and the switches as after loading.
class OriginTest : public ::testing::Test
{
protected:
    OriginTest()
    {
        KxTileFetcher::m_sbMemCacheUsed = 1;
        KxTileFetcher::m_sbLocalCacheUsed = 0;
        m_gWMTileDataCacheManager.ReleaseThreadTiles();
        m_gWMTileDataCacheManager.Clear();
    }

    /// A source of plain parameters: path behind the service's address.
    KxTSDParamItem& Source(const std::string& path, int scheme = 10, int southToNorth = 0)
    {
        m_sources.push_back(std::make_unique<KxTSDParamItem>());
        m_sources.back()->LoadFromParam(
            m_origin.Url(path).c_str(), "", scheme, 0, southToNorth, 0, 256, "", 0, KxTime());
        return *m_sources.back();
    }

    /// Pixels of a tile by (level, row from the south, column); the test fails where there is none.
    static Pixels Fetch(KxTSDParamItem& source, int level, int row, int col)
    {
        KxWMImageTileData* tile = nullptr;
        const NetError result = KxTileFetcher::FetchWMData(tile, &source, level, row, col, 0);
        EXPECT_EQ(result, NetError_Success) << KxNetGetch::GetLastRequestInfo().m_strCause.Cstr();
        return tile == nullptr ? Pixels() : PixelsOf(tile->GetImage());
    }

    TemporaryFolder m_folder;
    OriginProcess m_origin;
    std::vector<std::unique_ptr<KxTSDParamItem>> m_sources;
};

} // namespace KxC::Testing
