// SPDX-License-Identifier: MIT
#include "RasterCrs.h"

#include "CrsText.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <string_view>

namespace KxC {

namespace {

/// Degrees beyond the world's edge that are still the world: grids whose outermost pixels have
/// their centres on it reach half a pixel further.
constexpr double kSlack = 1.0;
constexpr double kHalfWorld = 20037508.342789244;

struct Extent
{
    double m_left;
    double m_bottom;
    double m_right;
    double m_top;

    bool IsWithin(const Extent& other) const
    {
        return m_left >= other.m_left && m_bottom >= other.m_bottom && m_right <= other.m_right &&
               m_top <= other.m_top;
    }
};

Extent ExtentOf(const GDALDataset& dataset, const ImagePlane& plane)
{
    const double width = const_cast<GDALDataset&>(dataset).GetRasterXSize();
    const double height = const_cast<GDALDataset&>(dataset).GetRasterYSize();
    std::array<KxPoint3d, 4> corners = {
        KxPoint3d{0, 0, 0}, {width, 0, 0}, {0, height, 0}, {width, height, 0}};
    plane.ToPlane(corners.data(), 4);
    const auto [left, right] =
        std::minmax({corners[0].x, corners[1].x, corners[2].x, corners[3].x});
    const auto [bottom, top] =
        std::minmax({corners[0].y, corners[1].y, corners[2].y, corners[3].y});
    return {left, bottom, right, top};
}

bool GuessCrs(const Extent& extent, OGRSpatialReference& crs)
{
    constexpr Extent kDegrees = {-180 - kSlack, -90 - kSlack, 360 + kSlack, 90 + kSlack};
    constexpr double kSquare = kHalfWorld * 1.001;
    if (extent.IsWithin(kDegrees) && extent.m_right - extent.m_left <= 360 + 2 * kSlack)
        return crs.importFromEPSG(4326) == OGRERR_NONE;
    if (extent.IsWithin({-kSquare, -kSquare, kSquare, kSquare}))
        return crs.importFromEPSG(3857) == OGRERR_NONE;
    return false;
}

/// The .prj file that hosts keep beside a raster with a world file.
bool ReadCrsBeside(const std::string& path, OGRSpatialReference& crs)
{
    const std::filesystem::path beside = std::filesystem::path(path).replace_extension(".prj");
    std::error_code error;
    if (!std::filesystem::is_regular_file(beside, error))
        return false;
    std::string fault;
    const std::string text = ReadPrjFile(beside.string(), fault);
    return fault.empty() && crs.importFromWkt(text.c_str()) == OGRERR_NONE;
}

/// Heights play no part in where a pixel lies.
void MakeFlat(OGRSpatialReference& crs)
{
    if (crs.IsCompound() != 0)
        crs.StripVertical();
    if (crs.GetAxesCount() > 2)
        crs.DemoteTo2D(nullptr);
}

bool IsWgs84(const OGRSpatialReference& crs)
{
    OGRSpatialReference wgs84;
    constexpr const char* kOptions[] = {
        "IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", "CRITERION=EQUIVALENT", nullptr};
    return crs.IsGeographic() != 0 && wgs84.importFromEPSG(4326) == OGRERR_NONE &&
           crs.IsSame(&wgs84, kOptions) != 0;
}

bool GoesRound(const OGRSpatialReference& crs)
{
    constexpr std::string_view kCylinders[] = {SRS_PT_MERCATOR_1SP,
                                               SRS_PT_MERCATOR_2SP,
                                               SRS_PT_MERCATOR_AUXILIARY_SPHERE,
                                               SRS_PT_EQUIRECTANGULAR,
                                               SRS_PT_CYLINDRICAL_EQUAL_AREA,
                                               SRS_PT_MILLER_CYLINDRICAL};
    const char* name = crs.GetAttrValue("PROJECTION");
    return crs.IsGeographic() != 0 ||
           (name != nullptr &&
            std::find(std::begin(kCylinders), std::end(kCylinders), name) != std::end(kCylinders));
}

bool Describe(const OGRSpatialReference& crs, RasterCrs& result)
{
    result.m_isGeographic = crs.IsGeographic() != 0;
    result.m_isWgs84 = IsWgs84(crs);
    result.m_goesRound = GoesRound(crs);
    if (result.m_isWgs84)
        return true;
    constexpr const char* kOptions[] = {"FORMAT=WKT2_2019", nullptr};
    char* text = nullptr;
    const bool written = crs.exportToWkt(&text, kOptions) == OGRERR_NONE && text != nullptr;
    if (written)
        result.m_wkt = text;
    CPLFree(text);
    return written;
}

const OGRSpatialReference* StoredCrs(GDALDataset& dataset)
{
    const OGRSpatialReference* crs = dataset.GetSpatialRef();
    return crs != nullptr ? crs : dataset.GetGCPSpatialRef();
}

} // namespace

bool FindCrs(GDALDataset& dataset, const std::string& path, const ImagePlane& plane, RasterCrs& crs)
{
    OGRSpatialReference found;
    const OGRSpatialReference* stored = StoredCrs(dataset);
    if (stored != nullptr && !stored->IsEmpty())
        found = *stored;
    else if (!ReadCrsBeside(path, found) && !GuessCrs(ExtentOf(dataset, plane), found))
        return false;
    MakeFlat(found);
    return Describe(found, crs);
}

} // namespace KxC
