// SPDX-License-Identifier: MIT
#include "LoadedLibrary.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

using KxC::Testing::LoadedLibrary;
using ::testing::ElementsAre;

class Teardown : public ::testing::Test
{
protected:
    Teardown()
    {
        ::setenv("KXTILE_TEARDOWN_LOG", m_folder.File("ends.txt").c_str(), 1);
        ::setenv("KXTILE_CACHE_DIR", m_folder.File("cache").c_str(), 1);
        ::setenv("KXTILE_PLUGIN_PATH", KXTILE_TEARDOWN_READER, 1);
    }
    std::vector<std::string> Ends() const
    {
        std::ifstream file(m_folder.File("ends.txt"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    KxC::TempFolder m_folder;
};

TEST_F(Teardown, ClosesRastersBeforeTransforms)
{
    LoadedLibrary library;
    // In this order: what comes first to life is not what comes first to its end.
    ASSERT_NE(library.GetTransform("first system", 1), nullptr);
    ASSERT_NE(library.OpenRaster("/rasters/a.ends"), nullptr);
    ASSERT_NE(library.GetTransform("second system", 2), nullptr);
    ASSERT_NE(library.OpenRaster("/rasters/b.ends"), nullptr);
    EXPECT_THAT(Ends(), ElementsAre());
    library.Close();
    EXPECT_THAT(Ends(),
                ElementsAre("raster /rasters/a.ends",
                            "raster /rasters/b.ends",
                            "projection first system",
                            "projection second system"));
}

TEST_F(Teardown, LeavesNothingBehindForTheNextTime)
{
    for (int round = 0; round < 3; ++round) {
        LoadedLibrary library;
        ASSERT_NE(library.OpenRaster("/rasters/again.ends"), nullptr);
    }
    EXPECT_THAT(Ends(),
                ElementsAre("raster /rasters/again.ends",
                            "raster /rasters/again.ends",
                            "raster /rasters/again.ends"));
}

} // namespace
