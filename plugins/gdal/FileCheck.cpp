// SPDX-License-Identifier: MIT
#include "FileCheck.h"

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
    return isUsual ? std::string(name) : std::string();
}

/// Counts what a virtual raster leads to.
class Walk
{
public:
    /// @return reads that one of the file causes, 0 when it must not be read
    double Reads(const std::string& path, int depth)
    {
        if (const auto known = m_reads.find(path); known != m_reads.end())
            return known->second;
        if (depth > kMaxDepth || !IsPlainPath(path))
            return 0;
        m_reads[path] = 0; // until it is known: one that leads to itself is not read
        const std::string driver = DriverOf(path);
        double reads = driver.empty() ? 0 : 1;
        if (driver == "VRT")
            reads = ReadsOfVirtual(path, depth);
        m_reads[path] = reads;
        return reads;
    }

private:
    double ReadsOfVirtual(const std::string& path, int depth)
    {
        std::vector<VirtualSource> sources;
        if (!ListSources(path, sources))
            return 0;
        double sum = 1;
        for (const VirtualSource& source : sources) {
            const double reads = source.m_cost * Reads(source.m_path, depth + 1);
            sum += reads;
            // Costs may be endless, and sums no number.
            if (!(reads > 0) || !(sum <= kMaxReads))
                return 0;
        }
        return sum;
    }

    std::map<std::string, double> m_reads;
};

} // namespace

std::string CheckRasterFile(const std::string& path)
{
    return Walk().Reads(path, 0) > 0 ? DriverOf(path) : std::string();
}

} // namespace KxC
