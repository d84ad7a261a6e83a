// SPDX-License-Identifier: MIT
// Mosaics of a real raster in real coordinate systems, every pixel beside the plain way: its own
// transform, its own tile, the nearest pixel of that.
#include "KxFile.h"
#include "KxImgUtility.h"
#include "KxTileFetcher.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace KxC {
namespace {

constexpr int kWidth = 2048;
constexpr int kHeight = 1024;

/// The world, each pixel of which tells its column and row; without alpha.
void WriteWorld(const TempFolder& folder)
{
    KxImageData world(kWidth, kHeight, KxPixelFormat_RGB);
    for (int row = 0; row < kHeight; ++row)
        for (int column = 0; column < kWidth; ++column) {
            const unsigned char pixel[] = {
                static_cast<unsigned char>(column),
                static_cast<unsigned char>(row),
                static_cast<unsigned char>(1 + column / 256 * 16 + row / 256)};
            world.SetValue(row, column, pixel, 3);
        }
    ASSERT_EQ(KxImgUtility::SaveImageFile(&world, folder.File("world.png").c_str(), 0), 1);
    const double step = 360.0 / kWidth;
    WriteFile(folder.File("world.pgw"),
              std::to_string(step) + "\n0\n0\n" + std::to_string(-step) + "\n" +
                  std::to_string(-180 + step / 2) + "\n" + std::to_string(90 - step / 2) + "\n");
    WriteFile(folder.File("world.prj"),
              "GEOGCS[\"GCS_WGS_1984\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137.0,"
              "298.257223563]],PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]]");
}

/// The raster's tiles, as far as they were asked for.
class Tiles
{
public:
    explicit Tiles(const std::string& raster)
        : m_path(raster.c_str()), m_raster(m_gRasterAccessorManager.OpenDataAccessor(m_path))
    {
    }
    /// Null where there is none.
    const KxImageData* At(int level, int row, int col)
    {
        auto found = m_tiles.find({row, col});
        if (found == m_tiles.end()) {
            KxImageData* image = nullptr;
            m_raster->ReadTileImage(image, level, row, col);
            found = m_tiles.emplace(std::pair(row, col), image).first;
        }
        return found->second.get();
    }
    KxRasterDataAccessor* Raster() const { return m_raster; }

private:
    KxString m_path;
    KxRasterDataAccessor* m_raster;
    std::map<std::pair<int, int>, std::unique_ptr<KxImageData>> m_tiles;
};

struct Case
{
    const char* m_name;
    const char* m_crs; ///< "EPSG:..." or a PROJ string
    double m_x;        ///< west
    double m_y;        ///< south
    double m_resolution;
    int m_pixels; ///< a side
};

void PrintTo(const Case& shown, std::ostream* out)
{
    *out << shown.m_name;
}

class MosaicPixels : public ::testing::TestWithParam<Case>
{
protected:
    MosaicPixels()
    {
        KxFile::m_strAppCachePath = m_folder.File("cache").c_str();
        WriteWorld(m_folder);
    }
    std::unique_ptr<KxImageData> Decoded(const std::string& path) const
    {
        const std::string bytes = ReadFile(path);
        return std::unique_ptr<KxImageData>(
            KxImgUtility::LoadImageData(reinterpret_cast<const unsigned char*>(bytes.data()),
                                        static_cast<unsigned int>(bytes.size()),
                                        "",
                                        0,
                                        0));
    }

    TempFolder m_folder;
};

/// Whether a pixel is the wanted one. One that is drawn from no tile is zero.
bool IsPixel(const KxImageData& picture, int row, int column, const unsigned char* wanted)
{
    const unsigned char* const is = picture.GetData() +
                                    static_cast<std::ptrdiff_t>(row) * picture.GetRowBytes() +
                                    static_cast<std::ptrdiff_t>(column) * picture.GetPixelSize();
    return std::memcmp(is, wanted, static_cast<std::size_t>(picture.GetPixelSize())) == 0;
}

TEST_P(MosaicPixels, AreThoseOfTransformingEachPoint)
{
    const Case& of = GetParam();
    const double side = of.m_pixels * of.m_resolution * (1 + 1e-12);
    const KxRect2d rect(of.m_x, of.m_y + side, of.m_x + side, of.m_y);
    const auto type = of.m_crs[0] == '+' ? ProjectStringType_Proj4 : ProjectStringType_EPSG;
    const std::string file = m_folder.File("mosaic.png");
    Tiles tiles(m_folder.File("world.png"));
    ASSERT_NE(tiles.Raster(), nullptr);
    ASSERT_EQ(KxTileFetcher::FetchImage(file.c_str(),
                                        m_folder.File("world.png").c_str(),
                                        rect,
                                        of.m_resolution,
                                        of.m_crs,
                                        type),
              1);
    const auto picture = Decoded(file);
    ASSERT_NE(picture, nullptr);
    ASSERT_EQ(picture->GetWidth(), of.m_pixels);
    const int level = KxTileFetcher::CalcTSZLevel(of.m_resolution);
    KxCoordSysTrans* const transform = m_gCoordSysTransManager.GetKxCoordSysTrans(of.m_crs, type);
    const double dx = rect.Width() / (picture->GetWidth() - 1);
    const double dy = rect.Height() / (picture->GetHeight() - 1);
    int different = 0;
    int drawn = 0;
    double y = rect.m_dBottom;
    for (int r = 0; r < picture->GetHeight(); ++r) {
        double x = rect.m_dLeft;
        for (int c = 0; c < picture->GetWidth(); ++c) {
            double col = 0;
            double row = 0;
            KxTileFetcher::GetLLColRow2(col, row, transform, x, y, level);
            unsigned char wanted[4] = {};
            const KxImageData* const tile = tiles.At(
                level, static_cast<int>(std::floor(row)), static_cast<int>(std::floor(col)));
            if (tile != nullptr)
                tile->GetValue2(
                    col - std::floor(col), row - std::floor(row), wanted, picture->GetPixelSize());
            drawn += tile != nullptr ? 1 : 0;
            different += IsPixel(*picture, r, c, wanted) ? 0 : 1;
            x = c == picture->GetWidth() - 2 ? rect.m_dRight - dx * 0.0001 : x + dx;
        }
        y = r == picture->GetHeight() - 2 ? rect.m_dTop - dy * 0.0001 : y + dy;
    }
    EXPECT_EQ(different, 0);
    EXPECT_GT(drawn, of.m_pixels * of.m_pixels * 9 / 10);
}

// The extents have their farthest latitudes on their edges, so that no tile under them is missed.
INSTANTIATE_TEST_SUITE_P(
    CoordinateSystems,
    MosaicPixels,
    ::testing::Values(Case{"PlateCarree", "+proj=eqc +R=6378137", -3e6, 1e6, 20000, 400},
                      Case{"AcrossTheAntimeridian", "+proj=eqc +R=6378137", 17e6, -3e6, 20000, 500},
                      Case{"Utm33", "32633", -1e6, 3e6, 20000, 200},
                      Case{"Utm1AcrossTheAntimeridian", "32601", 1e5, 3e6, 20000, 300},
                      Case{"WebMercator", "3857", -9e6, -9e6, 25000, 600},
                      Case{"NorthPolarStereographic", "3413", -5e6, -5e6, 21000, 230},
                      Case{"QuarterOfTheNorthPole", "3995", 0, 0, 21000, 400},
                      Case{"SouthPolarStereographic", "3031", 1e6, -4e6, 20000, 190},
                      Case{"LambertConic", "2154", -1e6, 4.5e6, 20000, 200},
                      Case{"AlbersConic", "5070", -3e6, -1.3e6, 20000, 300},
                      Case{"LambertAzimuthal", "3035", 2e6, 1e6, 20000, 300},
                      Case{"Swiss", "2056", 2e6, 0.8e6, 20000, 90},
                      Case{"Nad27WithItsPatches",
                           "+proj=lcc +lat_1=33 +lat_2=45 +lon_0=-96 +datum=NAD27",
                           -2e6,
                           3e6,
                           20000,
                           200}),
    [](const auto& of) { return std::string(of.param.m_name); });

} // namespace
} // namespace KxC
