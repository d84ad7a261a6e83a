// SPDX-License-Identifier: MIT
#include "PluginFolder.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace KxC::Test {

namespace {

/// Places that all of the systems below cover, longitude first.
std::vector<KxPoint3d> Places()
{
    std::vector<KxPoint3d> places;
    for (int col = 0; col < 9; ++col)
        for (int row = 0; row < 8; ++row)
            places.emplace_back(-4.9 + 0.7 * col, 50.2 + 0.9 * row, 0);
    return places;
}

/// What cs2cs makes of places; OGC:CRS84 takes longitude first.
std::vector<KxPoint3d> ByCs2cs(const std::string& system, const std::vector<KxPoint3d>& places)
{
    const TempFolder folder;
    std::ostringstream lines;
    lines.precision(17);
    for (const KxPoint3d& place : places)
        lines << place.x << ' ' << place.y << '\n';
    WriteFile(folder.Path() / "in", lines.str());
    const std::string command = "PROJ_NETWORK=OFF '" KX_CS2CS "' -f %.9f OGC:CRS84 " + system +
                                " <'" + folder.File("in") + "' >'" + folder.File("out") + "'";
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread runs
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    std::istringstream answers(ReadFile(folder.Path() / "out"));
    std::vector<KxPoint3d> converted;
    for (KxPoint3d point; answers >> point.x >> point.y >> point.z;)
        converted.push_back(point);
    return converted;
}

} // namespace

TEST(GdalAccessorPoints, AgreesWithCs2cs)
{
    // Each prints easting first. 27700 needs a datum shift; which one there is depends on the grids
    // that are installed, for both alike.
    for (const std::string system : {"EPSG:32630", "EPSG:3395", "EPSG:3857", "EPSG:27700"}) {
        const std::unique_ptr<KxRasterDataAccessor> accessor = NewAccessor();
        ASSERT_NE(accessor, nullptr);
        ASSERT_NE(accessor->SetEPSG(system.c_str()), 0) << accessor->GetProjectionError().Cstr();
        const std::vector<KxPoint3d> places = Places();
        const std::vector<KxPoint3d> wanted = ByCs2cs(system, places);
        ASSERT_EQ(wanted.size(), places.size());
        for (std::size_t i = 0; i < places.size(); ++i) {
            KxPoint3d out;
            accessor->WGS84PtToSrcPt(places[i], out);
            EXPECT_NEAR(out.x, wanted[i].x, 2e-6) << system << ' ' << places[i].x;
            EXPECT_NEAR(out.y, wanted[i].y, 2e-6) << system << ' ' << places[i].y;
        }
    }
}

} // namespace KxC::Test
