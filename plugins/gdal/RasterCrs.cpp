// SPDX-License-Identifier: MIT
#include "RasterCrs.h"

#include "CrsText.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <array>
#include <charconv>
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

int CodeOf(const OGRSpatialReference& crs)
{
    const char* authority = crs.GetAuthorityName(nullptr);
    const char* text = crs.GetAuthorityCode(nullptr);
    if (authority == nullptr || text == nullptr || !EQUAL(authority, "EPSG"))
        return 0;
    const std::string_view digits(text);
    int code = 0; // also of what is no number, or too large
    std::from_chars(digits.data(), digits.data() + digits.size(), code);
    return std::max(code, 0);
}

/// Texts without codes, as .prj files are, are looked for in PROJ's database.
int CodeOfBestMatch(const OGRSpatialReference& crs)
{
    constexpr int kSame = 90; // of 100: but for the names of its parts
    int count = 0;
    int* confidences = nullptr;
    OGRSpatialReferenceH* const matches =
        const_cast<OGRSpatialReference&>(crs).FindMatches(nullptr, &count, &confidences);
    int code = 0;
    if (count > 0 && confidences[0] >= kSame)
        code = CodeOf(*OGRSpatialReference::FromHandle(matches[0]));
    OSRFreeSRSArray(matches);
    CPLFree(confidences);
    return code;
}

/// @param format  as GDAL names the dialects
/// @return empty where the system cannot be written that way
std::string WktOf(const OGRSpatialReference& crs, const char* format)
{
    const std::string option = std::string("FORMAT=") + format;
    const char* const options[] = {option.c_str(), nullptr};
    char* text = nullptr;
    const bool written = crs.exportToWkt(&text, options) == OGRERR_NONE && text != nullptr;
    const std::string wkt(written ? text : "");
    CPLFree(text);
    return wkt;
}

/// PROJ writes the word "unknown" where there is no name, which says less than is known.
std::string NameOf(const OGRSpatialReference& crs)
{
    const char* const name = crs.GetName();
    if (name != nullptr && *name != '\0' && !EQUAL(name, "unknown") && !EQUAL(name, "unnamed"))
        return name;
    const char* const method = crs.GetAttrValue("PROJECTION");
    std::string kind = method != nullptr         ? method
                       : crs.IsGeographic() != 0 ? "longitude and latitude"
                                                 : "projection unknown";
    std::replace(kind.begin(), kind.end(), '_', ' ');
    return "has no name (" + kind + ")";
}

void Name(const OGRSpatialReference& crs, RasterCrs& result)
{
    result.m_name = NameOf(crs);
    result.m_epsg = CodeOf(crs);
    if (result.m_epsg == 0 && result.m_isWgs84)
        result.m_epsg = 4326;
    if (result.m_epsg == 0) // in other dialects a system without codes is told less surely
        result.m_esriWkt = WktOf(crs, "WKT1_ESRI");
}

bool Describe(const OGRSpatialReference& crs, RasterCrs& result)
{
    result.m_isGeographic = crs.IsGeographic() != 0;
    result.m_isWgs84 = IsWgs84(crs);
    result.m_goesRound = GoesRound(crs);
    result.m_wkt = WktOf(crs, "WKT2_2019");
    Name(crs, result);
    return result.m_isWgs84 || !result.m_wkt.empty();
}

const OGRSpatialReference* StoredCrs(GDALDataset& dataset)
{
    const OGRSpatialReference* crs = dataset.GetSpatialRef();
    return crs != nullptr ? crs : dataset.GetGCPSpatialRef();
}

} // namespace

int FindEpsgCode(const RasterCrs& crs)
{
    OGRSpatialReference found;
    const bool isUnknown = crs.m_epsg == 0 && !crs.m_esriWkt.empty() &&
                           found.importFromWkt(crs.m_esriWkt.c_str()) == OGRERR_NONE;
    return isUnknown ? CodeOfBestMatch(found) : crs.m_epsg;
}

bool FindCrs(GDALDataset& dataset, const std::string& path, const ImagePlane& plane, RasterCrs& crs)
{
    OGRSpatialReference found;
    const OGRSpatialReference* stored = StoredCrs(dataset);
    if (stored != nullptr && !stored->IsEmpty())
        found = *stored;
    else if (!ReadCrsBeside(path, found)) {
        if (!GuessCrs(ExtentOf(dataset, plane), found))
            return false;
        crs.m_isAssumed = true;
    }
    MakeFlat(found);
    return Describe(found, crs);
}

} // namespace KxC
