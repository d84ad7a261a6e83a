// SPDX-License-Identifier: MIT
#include "LoadedLibrary.h"
#include "support/TempFolder.h"
#include "support/TestData.h"

#include <cstdlib>

namespace {

using KxC::Testing::LoadedLibrary;

TEST(TeardownOfGdal, LetsGoOfDatasetsAndProjections)
{
    const auto world = KxC::TestDataFile("world.rgb.tif");
    const auto utm = KxC::TestDataFile("RGB.byte.tif");
    if (!world || !utm)
        GTEST_SKIP() << KxC::kNoTestData;
    const KxC::TempFolder folder;
    ::setenv("KXTILE_CACHE_DIR", folder.File("cache").c_str(), 1);
    ::setenv("KXTILE_PLUGIN_PATH", KXTILE_GDAL_READER, 1);
    for (int round = 0; round < 2; ++round) {
        LoadedLibrary library;
        EXPECT_NE(library.OpenRaster(world->c_str()), nullptr);
        EXPECT_NE(library.OpenRaster(utm->c_str()), nullptr);
        void* const transform = library.GetTransform("EPSG:32633", 4);
        // The central meridian, by definition.
        EXPECT_NEAR(library.Convert(transform, {500000, 5500000, 0})[0], 15.0, 1e-9);
    }
}

} // namespace
