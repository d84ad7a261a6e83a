// SPDX-License-Identifier: MIT
// One raster, many threads; and what is left of it when projection support is given back.
#include "KxProjManagerCleaner.h"
#include "RasterFixture.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace KxC::Test {

namespace {

constexpr int kThreads = 12; // more than there are datasets
constexpr int kRounds = 12;

RasterSpec Utm()
{
    RasterSpec spec;
    spec.m_width = 600;
    spec.m_height = 500;
    spec.m_crs = "EPSG:32633";
    spec.m_transform = Upright(400000, 5500000, 100, 100);
    spec.m_options = {"TILED=YES", "BLOCKXSIZE=64", "BLOCKYSIZE=64", "COMPRESS=DEFLATE"};
    return spec;
}

struct Address
{
    int m_level, m_row, m_col;
};

std::vector<Address> AddressesOf(KxRasterDataAccessor& accessor)
{
    std::vector<Address> addresses;
    const KxRect2d bounds = accessor.GetLatLonBounds();
    for (int level = accessor.GetMinLevel(); level <= accessor.GetMaxLevel(); ++level)
        for (int row = Grid::Row(level, bounds.m_dBottom); row <= Grid::Row(level, bounds.m_dTop);
             ++row)
            for (int col = Grid::Column(level, bounds.m_dLeft);
                 col <= Grid::Column(level, bounds.m_dRight);
                 ++col)
                addresses.push_back({level, row, col});
    return addresses;
}

long long Sum(const Tile& tile)
{
    long long sum = tile.PixelSize();
    for (int row = 0; row < kSide; row += 3)
        for (int column = 0; column < kSide; column += 3)
            for (const int value : tile.At(row, column))
                sum = sum * 31 % 1000000007 + value;
    return sum;
}

void ReadInThreads(KxRasterDataAccessor& accessor)
{
    const std::vector<Address> addresses = AddressesOf(accessor);
    ASSERT_GT(addresses.size(), 10U);
    std::vector<long long> wanted;
    for (const auto& [level, row, col] : addresses)
        wanted.push_back(Sum(Tile(accessor, level, row, col)));
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&, thread] {
            for (std::size_t i = 0; i < kRounds; ++i) {
                const std::size_t at =
                    (i * 7 + static_cast<std::size_t>(thread)) % addresses.size();
                const auto& [level, row, col] = addresses[at];
                wrong += Sum(Tile(accessor, level, row, col)) == wanted[at] ? 0 : 1;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace

TEST(GdalRasterThreads, ReadOneRasterAtOnce)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.tif"), Utm());
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    ReadInThreads(*accessor);
}

TEST(GdalRasterThreads, ReadOneVirtualRasterAtOnce)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.tif"), Utm());
    {
        const std::unique_ptr<GDALDataset> source(GDALDataset::Open(folder.File("a.tif").c_str()));
        const std::unique_ptr<GDALDataset> copy(
            GetGDALDriverManager()->GetDriverByName("VRT")->CreateCopy(
                folder.File("a.vrt").c_str(), source.get(), 0, nullptr, nullptr, nullptr));
        ASSERT_NE(copy, nullptr);
    }
    const auto accessor = OpenedRaster(folder.File("a.vrt"));
    ASSERT_NE(accessor, nullptr);
    ReadInThreads(*accessor);
}

TEST(GdalRasterThreads, RastersGoOnAfterWhatIsIdleWasGivenBack)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.tif"), Utm());
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    const auto [level, row, col] = AddressesOf(*accessor).back();
    const long long before = Sum(Tile(*accessor, level, row, col));
    delete new KxProjManagerCleaner;
    EXPECT_EQ(Sum(Tile(*accessor, level, row, col)), before);
}

TEST(GdalRasterThreads, ARasterThatIsGoneHasNoTiles)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.tif"), Utm());
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    std::filesystem::remove(folder.File("a.tif"));
    delete new KxProjManagerCleaner; // closes what is open
    const auto [level, row, col] = AddressesOf(*accessor)[0];
    EXPECT_FALSE(Tile(*accessor, level, row, col).IsThere());
}

} // namespace KxC::Test
