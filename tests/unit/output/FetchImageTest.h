// SPDX-License-Identifier: MIT
/// What tests of mosaics share: rasters and projections that are made up.
#pragma once

#include "KxCoordSysTrans.h"
#include "KxUtility.h"
#include "unit/retrieval/AddressTiles.h"
#include "unit/support/MapProjections.h"
#include "unit/support/ScriptedRasters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <memory>
#include <string>

namespace KxC {

using Testing::Pixel;

/// A name of its own for each raster and projection: both stay for the whole process.
inline std::string FreshName(const char* what, const char* ext = "")
{
    static std::atomic<int> count{0};
    return std::string("/mosaic-") + what + std::to_string(count++) + ext;
}

class FetchImage : public ::testing::Test
{
protected:
    FetchImage()
    {
        m_gWMTileDataCacheManager.ReleaseThreadTiles();
        m_gWMTileDataCacheManager.Clear();
        m_rasters.m_image = [](int level, int row, int col) {
            return Testing::AddressImage({level, row, col}, 256, 3);
        };
        Project(Testing::PlateCarree);
    }
    ~FetchImage() override
    {
        m_gWMTileDataCacheManager.SetBudget(KxWMTileDataCacheManager::kDefaultBudget);
        KxImageData::SetBilinear(false);
    }

    void Project(const Testing::ToWgs84& projection)
    {
        m_rasters.m_toWgs84 = projection;
        m_projection = FreshName("projection");
    }
    unsigned char Fetch(const KxRect2d& rect, double resolution)
    {
        return KxTileFetcher::FetchImage(m_file.c_str(),
                                         m_raster.c_str(),
                                         rect,
                                         resolution,
                                         m_projection.c_str(),
                                         ProjectStringType_Proj4);
    }
    std::unique_ptr<KxImageData> Picture() const
    {
        const std::string bytes = ReadFile(m_file);
        return std::unique_ptr<KxImageData>(
            KxImgUtility::LoadImageData(reinterpret_cast<const unsigned char*>(bytes.data()),
                                        static_cast<unsigned int>(bytes.size()),
                                        ".png",
                                        0,
                                        0));
    }
    bool WroteFile() const { return std::filesystem::exists(m_file); }
    /// The log's lines so far, in GBK, without what stands before the text.
    std::string Log() const { return m_folder.Read("kxtile.log"); }
    static std::string Gbk(const char* text) { return KxUtility::ToGBK(text).Cstr(); }
    std::size_t TilesRead() const
    {
        return static_cast<std::size_t>(
            std::count_if(m_rasters.m_calls.begin(), m_rasters.m_calls.end(), [](const auto& call) {
                return call.starts_with("image");
            }));
    }

    Testing::TemporaryFolder m_folder;
    Testing::ScriptedRasters m_rasters;
    std::string m_raster = FreshName("raster", ".tif");
    std::string m_projection;
    std::string m_file = (m_folder.Path() / "out.png").string();
};

/// Metres on the sphere's equator; 10 km a pixel is level 4, whose tiles are 22.5 degrees.
constexpr double kDegree = Testing::kMetresPerDegree;
constexpr double kTile4 = 22.5 * kDegree;

} // namespace KxC
