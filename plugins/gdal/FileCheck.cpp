// SPDX-License-Identifier: MIT
#include "FileCheck.h"

#include "RasterError.h"
#include "VirtualRaster.h"

#include <gdal_priv.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string_view>
#include <system_error>

namespace KxC {

namespace {

/// Formats that read their own file and those beside it, and nothing else.
constexpr std::string_view kDrivers[] = {"VRT",
                                         "GTiff",
                                         "JPEG",
                                         "PNG",
                                         "JP2OpenJPEG",
                                         "HFA",
                                         "BMP",
                                         "GIF",
                                         "BIGGIF",
                                         "WEBP",
                                         "AAIGrid",
                                         "EHdr",
                                         "DTED",
                                         "SRTMHGT",
                                         "USGSDEM",
                                         "NITF"};

/// Files that a virtual raster reads for one of its own, counted as often as it names them and as
/// often as it reads pixels of them for one of its: more than anybody makes, and few enough to be
/// read.
constexpr double kMaxReads = 100000;
constexpr int kMaxDepth = 8;

bool IsPlainPath(const std::string& path)
{
    std::error_code error;
    return path.starts_with('/') && !path.starts_with("/vsi") &&
           std::filesystem::is_regular_file(path, error);
}

std::string DriverOf(const std::string& path)
{
    GDALDriverH driver = GDALIdentifyDriverEx(path.c_str(), GDAL_OF_RASTER, nullptr, nullptr);
    const std::string_view name = driver != nullptr ? GDALGetDriverShortName(driver) : "";
    const bool isUsual =
        std::find(std::begin(kDrivers), std::end(kDrivers), name) != std::end(kDrivers);
    if (isUsual)
        return std::string(name);
    throw RasterError(name.empty()
                          ? "it is of no format that rasters have, or damaged"
                          : "it is of a format that is not read here: " + std::string(name));
}

/// Counts what a virtual raster leads to.
class Walk
{
public:
    /// @return reads that one of the file causes
    /// @throws RasterError when it must not be read
    double Reads(const std::string& path, int depth)
    {
        const auto [known, isNew] = m_reads.try_emplace(path, 0); // until it is known
        if (!isNew && known->second == 0)
            throw RasterError("it is a virtual raster that leads to itself");
        if (isNew)
            known->second = CountReads(path, depth);
        return known->second;
    }

private:
    double CountReads(const std::string& path, int depth)
    {
        if (depth > kMaxDepth)
            throw RasterError("it is a virtual raster of too many others in each other");
        if (!IsPlainPath(path))
            throw RasterError(depth == 0 ? "it is no file"
                                         : "it is made of something that is no file: " + path);
        return DriverOf(path) == "VRT" ? ReadsOfVirtual(path, depth) : 1;
    }

    double ReadsOfVirtual(const std::string& path, int depth)
    {
        std::vector<VirtualSource> sources;
        if (!ListSources(path, sources))
            throw RasterError("it is a virtual raster that does not parse, or asks for what is "
                              "not done here: warping, filters, addresses, programs");
        double sum = 1;
        for (const VirtualSource& source : sources) {
            sum += source.m_cost * Reads(source.m_path, depth + 1);
            if (sum > kMaxReads)
                throw RasterError("it is a virtual raster that asks for more reading than is "
                                  "done for one");
        }
        return sum;
    }

    std::map<std::string, double> m_reads;
};

} // namespace

std::string CheckRasterFile(const std::string& path)
{
    Walk().Reads(path, 0);
    return DriverOf(path);
}

} // namespace KxC
