// SPDX-License-Identifier: MIT
// What becomes of rasters when the tile library goes before the process does. It is not linked.
#include "PluginFolder.h"
#include "RasterFixture.h"
#include "support/TempFolder.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

namespace KxC::Test {

namespace {

namespace fs = std::filesystem;

/// m_gRasterAccessorManager.OpenDataAccessor(path) of a library that was not linked.
KxRasterDataAccessor* AskForRaster(void* library, const std::string& path)
{
    using Opening = KxRasterDataAccessor* (*)(void* manager, const KxString& path);
    const auto open = reinterpret_cast<Opening>(
        ::dlsym(library, "_ZN3KxC23KxRasterAccessorManager16OpenDataAccessorERKNS_8KxStringE"));
    void* manager = ::dlsym(library, "_ZN3KxC24m_gRasterAccessorManagerE");
    EXPECT_TRUE(open != nullptr && manager != nullptr);
    return open != nullptr && manager != nullptr ? open(manager, path.c_str()) : nullptr;
}

/// Descriptors of this process that lead to a file.
int DescriptorsOf(const std::string& path)
{
    int count = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        count += fs::read_symlink(entry.path(), error) == path ? 1 : 0;
    }
    return count;
}

std::string WriteSmall(const TempFolder& folder)
{
    RasterSpec spec;
    spec.m_transform = Upright(10, 50, 0.01, 0.01);
    WriteRaster(folder.File("a.tif"), spec);
    return folder.File("a.tif");
}

bool ReadsATile(KxRasterDataAccessor& accessor)
{
    const int level = accessor.GetMaxLevel();
    return Tile(accessor, level, Grid::Row(level, 49.7), Grid::Column(level, 10.3)).IsThere();
}

} // namespace

TEST(LibraryUnloading, ClosesRastersEachTime)
{
    UseBuiltPlugin();
    const TempFolder folder;
    const std::string path = WriteSmall(folder);
    for (int round = 0; round < 2; ++round) {
        void* library = ::dlopen(KXTILE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << ::dlerror(); // NOLINT(concurrency-mt-unsafe): by thread
        KxRasterDataAccessor* accessor = AskForRaster(library, path);
        ASSERT_NE(accessor, nullptr);
        EXPECT_TRUE(ReadsATile(*accessor));
        EXPECT_GT(DescriptorsOf(path), 0);
        EXPECT_EQ(::dlclose(library), 0);
        EXPECT_EQ(DescriptorsOf(path), 0);
    }
}

TEST(LibraryUnloading, LeavesAHostsOwnRastersReadable)
{
    const TempFolder folder;
    const auto accessor = OpenedRaster(WriteSmall(folder));
    ASSERT_NE(accessor, nullptr);
    void* library = ::dlopen(KXTILE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << ::dlerror(); // NOLINT(concurrency-mt-unsafe): by thread
    ASSERT_EQ(::dlclose(library), 0);
    EXPECT_TRUE(ReadsATile(*accessor));
}

TEST(GdalPluginDeathTest, AProcessMayEndWithRastersOpen)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            static const TempFolder folder;
            // Held beyond the end of GDAL: destroyed by nobody, as by a host that just ends.
            static KxRasterDataAccessor* const accessor =
                OpenedRaster(WriteSmall(folder)).release();
            std::fprintf(stderr, "%d", ReadsATile(*accessor) ? 1 : 0);
            std::exit(0); // NOLINT(concurrency-mt-unsafe): the only thread
        },
        testing::ExitedWithCode(0),
        "^1$");
}

TEST(GdalPluginDeathTest, StartsGdalWithTheFirstRaster)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            const auto accessor = NewAccessor();
            accessor->SetEPSG("32633");
            const int before = GetGDALDriverManager()->GetDriverCount();
            accessor->Open("/no/such/raster.tif");
            const int after = GetGDALDriverManager()->GetDriverCount();
            std::fprintf(stderr, "%d %d", before, after > 0 ? 1 : 0);
            std::exit(0); // NOLINT(concurrency-mt-unsafe): the only thread
        },
        testing::ExitedWithCode(0),
        "^0 1$");
}

} // namespace KxC::Test
