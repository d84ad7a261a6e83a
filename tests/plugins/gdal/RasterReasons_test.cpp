// SPDX-License-Identifier: MIT
// What is told of rasters that cannot be opened, or not be read.
#include "KxFile.h"
#include "RasterFixture.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <filesystem>

namespace KxC::Test {

namespace {

std::string ReasonOf(const TempFolder& folder, const std::string& name)
{
    EXPECT_EQ(OpenedRaster(folder.File(name)), nullptr) << name;
    return KxRasterDataAccessor::GetThreadError().Cstr();
}

void ExpectHas(const std::string& text, const char* part)
{
    EXPECT_NE(text.find(part), std::string::npos) << text;
}

struct Outcome
{
    bool m_isThere;
    unsigned long long m_failures;
};

Outcome ReadAt(KxRasterDataAccessor& accessor, int level, double longitude, double latitude)
{
    const unsigned long long before = KxRasterDataAccessor::GetThreadReadFailures();
    const Tile tile(accessor, level, Grid::Row(level, latitude), Grid::Column(level, longitude));
    return {tile.IsThere(), KxRasterDataAccessor::GetThreadReadFailures() - before};
}

void WriteSparse(const std::string& path,
                 int side,
                 int bands,
                 const std::vector<const char*>& options)
{
    GDALAllRegister();
    std::vector<const char*> all = {"SPARSE_OK=TRUE", "TILED=YES", "COMPRESS=DEFLATE"};
    all.insert(all.end(), options.begin(), options.end());
    all.push_back(nullptr);
    const std::unique_ptr<GDALDataset> dataset(
        GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
            path.c_str(), side, side, bands, GDT_Byte, all.data()));
    ASSERT_NE(dataset, nullptr);
    std::array<double, 6> transform = Upright(10, 50, 0.0001, 0.0001);
    dataset->SetGeoTransform(transform.data());
}

/// A little-endian TIFF whose tiles of 256 x 256 grey pixels are all one and the same, deflated.
class RepeatedTiff
{
public:
    explicit RepeatedTiff(std::uint32_t side) : m_count(((side + 255) / 256) * ((side + 255) / 256))
    {
        const std::string block = Deflated(std::string(std::size_t{256} * 256, '\x40'));
        m_bytes = "II" + Short(42) + Long(0);
        const std::uint32_t blockAt = Append(block);
        const std::uint32_t offsets = Append(Repeated(blockAt));
        const std::uint32_t counts = Append(Repeated(static_cast<std::uint32_t>(block.size())));
        const std::uint32_t scale = Append(Doubles({0.0001, 0.0001, 0}));
        const std::uint32_t tie = Append(Doubles({0, 0, 0, 10, 50, 0}));
        // Version 1.1.0 with three keys: a geographic system, pixels as areas, EPSG:4326.
        std::string keys;
        for (const int value : {1, 1, 0, 3, 1024, 0, 1, 2, 1025, 0, 1, 1, 2048, 0, 1, 4326})
            keys += Short(static_cast<unsigned int>(value));
        const std::uint32_t keysAt = Append(keys);
        const std::string directory =
            Short(14) + Field(256, 4, 1, side) + Field(257, 4, 1, side) + Field(258, 3, 1, 8) +
            Field(259, 3, 1, 8) + Field(262, 3, 1, 1) + Field(277, 3, 1, 1) + Field(284, 3, 1, 1) +
            Field(322, 3, 1, 256) + Field(323, 3, 1, 256) + Field(324, 4, m_count, offsets) +
            Field(325, 4, m_count, counts) + Field(33550, 12, 3, scale) + Field(33922, 12, 6, tie) +
            Field(34735, 3, 16, keysAt) + Long(0);
        m_bytes.replace(4, 4, Long(Append(directory)));
    }

    const std::string& Bytes() const { return m_bytes; }

private:
    static std::string Number(std::uint64_t value, int bytes)
    {
        std::string text;
        for (int i = 0; i < bytes; ++i, value >>= 8U)
            text += static_cast<char>(value & 0xFFU);
        return text;
    }
    static std::string Short(unsigned int value) { return Number(value, 2); }
    static std::string Long(std::uint32_t value) { return Number(value, 4); }
    static std::string Doubles(const std::vector<double>& values)
    {
        return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(double)};
    }
    static std::string
    Field(unsigned int tag, unsigned int type, std::uint32_t count, std::uint32_t value)
    {
        return Short(tag) + Short(type) + Long(count) + Long(value);
    }
    static std::string Deflated(const std::string& text)
    {
        uLongf size = ::compressBound(text.size());
        std::string bytes(size, '\0');
        ::compress(reinterpret_cast<Bytef*>(bytes.data()),
                   &size,
                   reinterpret_cast<const Bytef*>(text.data()),
                   text.size());
        bytes.resize(size);
        return bytes;
    }
    std::string Repeated(std::uint32_t value) const
    {
        std::string text;
        for (std::uint32_t i = 0; i < m_count; ++i)
            text += Long(value);
        return text;
    }
    std::uint32_t Append(const std::string& bytes)
    {
        m_bytes.resize((m_bytes.size() + 7) / 8 * 8);
        const auto at = static_cast<std::uint32_t>(m_bytes.size());
        m_bytes += bytes;
        return at;
    }

    std::uint32_t m_count;
    std::string m_bytes;
};

} // namespace

TEST(GdalRasterReasons, OpeningSaysWhatIsWrongAndLogsNothing)
{
    const TempFolder folder;
    const KxString before = KxFile::m_strAppCachePath;
    KxFile::m_strAppCachePath = folder.Path().c_str();
    ExpectHas(ReasonOf(folder, "missing.tif"), "no file");
    WriteFile(folder.Path() / "noise.tif", "hello");
    ExpectHas(ReasonOf(folder, "noise.tif"), "damaged");
    RasterSpec nowhere;
    nowhere.m_crs = "";
    WriteRaster(folder.File("nowhere.tif"), nowhere);
    ExpectHas(ReasonOf(folder, "nowhere.tif"), "georeference");
    WriteFile(folder.Path() / "a.vrt", "<VRTDataset rasterXSize=\"1\"");
    ExpectHas(ReasonOf(folder, "a.vrt"), "virtual raster");
    KxFile::m_strAppCachePath = before;
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / "kxtile.log"));
    // One that opens leaves no reason behind.
    RasterSpec sound;
    sound.m_transform = Upright(10, 50, 0.01, 0.01);
    WriteRaster(folder.File("sound.tif"), sound);
    EXPECT_NE(OpenedRaster(folder.File("sound.tif")), nullptr);
    EXPECT_EQ(KxRasterDataAccessor::GetThreadError().IsEmpty(), 1);
}

TEST(GdalRasterReasons, ACutRasterFailsWhereItIsCutAndNowhereElse)
{
    const TempFolder folder;
    RasterSpec spec;
    spec.m_width = 512;
    spec.m_height = 512;
    spec.m_transform = Upright(10, 50, 0.01, 0.01);
    // The directory at the front, so that a cut takes pixels alone.
    WriteRaster(folder.File("a.tif"), spec);
    const std::string whole = ReadFile(folder.File("a.tif"));
    ASSERT_GT(whole.size(), 512U * 512 * 3);
    WriteFile(folder.Path() / "a.tif", whole.substr(0, whole.size() * 6 / 10));
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    const int level = accessor->GetMaxLevel();
    const Outcome north = ReadAt(*accessor, level, 12, 49.5);
    EXPECT_TRUE(north.m_isThere);
    EXPECT_EQ(north.m_failures, 0U);
    const Outcome south = ReadAt(*accessor, level, 12, 45.2);
    EXPECT_FALSE(south.m_isThere);
    EXPECT_EQ(south.m_failures, 1U);
    EXPECT_EQ(KxRasterDataAccessor::GetThreadError().IsEmpty(), 0);
    const Outcome beside = ReadAt(*accessor, level, 100, 0);
    EXPECT_FALSE(beside.m_isThere);
    EXPECT_EQ(beside.m_failures, 0U) << "there is nothing, and nothing is wrong with it";
}

TEST(GdalRasterReasons, MoreWorkThanIsDoneForATileIsAFailure)
{
    const TempFolder folder;
    // 49 x 49 blocks of 16 megabytes, each of them under some pixel of the coarsest tile.
    WriteSparse(folder.File("a.tif"), 200000, 1, {"BLOCKXSIZE=4096", "BLOCKYSIZE=4096"});
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    const Outcome outcome = ReadAt(*accessor, accessor->GetMinLevel(), 20, 40);
    EXPECT_FALSE(outcome.m_isThere);
    EXPECT_EQ(outcome.m_failures, 1U);
    ExpectHas(KxRasterDataAccessor::GetThreadError().Cstr(), "overviews");
}

TEST(GdalRasterReasons, BandsThatAlternateCountTogether)
{
    const TempFolder folder;
    // Blocks of 64 MB for a band, 320 MB for all of them.
    for (const bool alternates : {false, true}) {
        WriteSparse(folder.File("a.tif"),
                    16384,
                    5,
                    {"BLOCKXSIZE=8192",
                     "BLOCKYSIZE=8192",
                     alternates ? "INTERLEAVE=PIXEL" : "INTERLEAVE=BAND"});
        EXPECT_EQ(OpenedRaster(folder.File("a.tif")) == nullptr, alternates);
    }
    ExpectHas(KxRasterDataAccessor::GetThreadError().Cstr(), "blocks");
}

TEST(GdalRasterReasons, AHugeRasterWithoutOverviewsIsATileOrAFailureButNoHole)
{
    const TempFolder folder;
    // Nearly each of them is decoded for the coarsest tile: 900 MB.
    WriteFile(folder.Path() / "a.tif", RepeatedTiff(30000).Bytes());
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr) << KxRasterDataAccessor::GetThreadError().Cstr();
    for (int level = accessor->GetMinLevel(); level <= accessor->GetMaxLevel(); ++level) {
        const unsigned long long before = KxRasterDataAccessor::GetThreadReadFailures();
        const Tile tile(*accessor, level, Grid::Row(level, 48.5), Grid::Column(level, 11.5));
        ASSERT_TRUE(tile.IsThere() || KxRasterDataAccessor::GetThreadReadFailures() == before + 1);
        if (!tile.IsThere())
            continue;
        const int row = static_cast<int>((48.5 + 180) / Grid::TileDegrees(level) * 256) % 256;
        const int column = static_cast<int>((11.5 + 180) / Grid::TileDegrees(level) * 256) % 256;
        EXPECT_EQ(tile.At(row, column), (Rgba{0x40, 0x40, 0x40, 255})) << level;
    }
}

} // namespace KxC::Test
