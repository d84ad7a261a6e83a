// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace KxC::Test {

constexpr double kRadian = 0.017453292519943295; ///< a degree, in radians

/// A position in WGS 84, GCJ-02 and BD-09 degrees and in metres of the Baidu plane, as converted by
/// the npm package gcoord 1.0.7.
struct DatumVector
{
    double lon, lat;
    double gcjLon, gcjLat;
    double bdLon, bdLat;
    double x, y;
    std::string note;
};

std::ostream& operator<<(std::ostream& out, const DatumVector& vector);

/// The rows of tests/data/datum_vectors.csv.
const std::vector<DatumVector>& DatumVectors();

} // namespace KxC::Test
