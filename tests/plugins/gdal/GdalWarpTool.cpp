// SPDX-License-Identifier: MIT
#include "GdalWarpTool.h"

#include "support/TempFolder.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <utility>

namespace KxC::Test {

namespace {

/// Bytes of a band of gdalwarp's picture.
std::vector<unsigned char> BandOf(GDALDataset& picture, int band)
{
    std::vector<unsigned char> bytes(std::size_t{kSide} * kSide);
    EXPECT_EQ(picture.GetRasterBand(band)->RasterIO(
                  GF_Read, 0, 0, kSide, kSide, bytes.data(), kSide, kSide, GDT_Byte, 0, 0, nullptr),
              CE_None);
    return bytes;
}

/// Colours of gdalwarp's picture, whose last band is alpha; rows from the north.
std::vector<Rgba> ColoursOf(GDALDataset& picture)
{
    const int count = picture.GetRasterCount();
    const GDALColorTable* table = picture.GetRasterBand(1)->GetColorTable();
    std::vector<std::vector<unsigned char>> bands;
    for (const int band : {1, count > 2 ? 2 : 1, count > 2 ? 3 : 1, count})
        bands.push_back(BandOf(picture, band));
    std::vector<Rgba> colours(bands[0].size());
    for (std::size_t i = 0; i < colours.size(); ++i) {
        for (std::size_t channel = 0; channel < 4; ++channel)
            colours[i][channel] = bands[channel][i];
        if (table == nullptr)
            continue;
        const GDALColorEntry* entry = table->GetColorEntry(bands[0][i]);
        colours[i] = {entry->c1, entry->c2, entry->c3, bands[3][i]};
    }
    return colours;
}

std::vector<Rgba>
Warp(const std::string& raster, int level, int row, int col, const std::string& overviews)
{
    const TempFolder folder;
    const double degrees = Grid::TileDegrees(level);
    const double west = -180 + col * degrees;
    const double south = -180 + row * degrees;
    const std::string command =
        fmt::format("'" KX_GDALWARP "' -q -et 0 -t_srs EPSG:4326 -te {:.17g} {:.17g} {:.17g} "
                    "{:.17g} -ts 256 256 -r near -dstalpha -ovr {} '{}' '{}' 2>'{}'",
                    west,
                    south,
                    west + degrees,
                    south + degrees,
                    overviews,
                    raster,
                    folder.File("out.tif"),
                    folder.File("errors")); // of corners that no projection reaches, by thousands
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread runs
    EXPECT_EQ(std::system(command.c_str()), 0) << command << ReadFile(folder.Path() / "errors");
    const std::unique_ptr<GDALDataset> result(GDALDataset::Open(folder.File("out.tif").c_str()));
    return result != nullptr ? ColoursOf(*result) : std::vector<Rgba>(std::size_t{kSide} * kSide);
}

} // namespace

Agreement CompareWithGdalwarp(const std::string& raster,
                              const Tile& tile,
                              int level,
                              int row,
                              int col,
                              const std::string& overviews)
{
    const std::vector<Rgba> warped = Warp(raster, level, row, col, overviews);
    Agreement agreement;
    for (int r = 0; r < kSide; ++r)
        for (int c = 0; c < kSide; ++c) {
            const Rgba& wanted =
                warped[std::size_t{kSide} * static_cast<std::size_t>(kSide - 1 - r) +
                       static_cast<std::size_t>(c)];
            const Rgba found = tile.At(r, c);
            const bool isVisible = wanted[3] != 0;
            agreement.m_visible += isVisible ? 1 : 0;
            agreement.m_visibleAlike += isVisible == (found[3] != 0) ? 1 : 0;
            agreement.m_equal += isVisible && found == wanted ? 1 : 0;
        }
    return agreement;
}

void CompareLevels(const std::string& raster,
                   KxRasterDataAccessor& accessor,
                   const std::string& overviews,
                   const std::function<void(const Agreement&, const std::string& where)>& visit)
{
    const KxRect2d bounds = accessor.GetLatLonBounds();
    const double middleX = (bounds.m_dLeft + bounds.m_dRight) / 2;
    const double middleY = (bounds.m_dBottom + bounds.m_dTop) / 2;
    const double inside = 1e-7; // degrees
    for (int level = accessor.GetMinLevel(); level <= accessor.GetMaxLevel(); ++level) {
        const std::set<std::pair<int, int>> tiles = {
            {Grid::Row(level, middleY), Grid::Column(level, middleX)},
            {Grid::Row(level, bounds.m_dTop - inside), Grid::Column(level, bounds.m_dLeft)},
            {Grid::Row(level, bounds.m_dBottom), Grid::Column(level, bounds.m_dRight - inside)}};
        for (const auto& [row, col] : tiles) {
            const Tile tile(accessor, level, row, col);
            visit(CompareWithGdalwarp(raster, tile, level, row, col, overviews),
                  fmt::format("{} level {} row {} column {}", raster, level, row, col));
        }
    }
}

} // namespace KxC::Test
