// SPDX-License-Identifier: MIT
#include "PluginFolder.h"

#include <cstdlib>

namespace KxC::Test {

void UseBuiltPlugin()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): once, and other threads wait for it here
    static const int set = ::setenv("KXTILE_PLUGIN_PATH", KX_PLUGIN_FOLDER, 1);
    static_cast<void>(set);
}

std::unique_ptr<KxRasterDataAccessor> NewAccessor()
{
    UseBuiltPlugin();
    return std::unique_ptr<KxRasterDataAccessor>(static_cast<KxRasterDataAccessor*>(
        m_gPluginManager.FindPluginByExt("AccessorPlugin", ".SHP")));
}

const std::string kUtm33Wkt2 =
    R"(PROJCRS["WGS 84 / UTM zone 33N",BASEGEOGCRS["WGS 84",DATUM["World Geodetic System 1984",)"
    R"(ELLIPSOID["WGS 84",6378137,298.257223563,LENGTHUNIT["metre",1]]],PRIMEM["Greenwich",0,)"
    R"(ANGLEUNIT["degree",0.0174532925199433]],ID["EPSG",4326]],CONVERSION["UTM zone 33N",)"
    R"(METHOD["Transverse Mercator",ID["EPSG",9807]],)"
    R"(PARAMETER["Latitude of natural origin",0,ANGLEUNIT["degree",0.0174532925199433],)"
    R"(ID["EPSG",8801]],PARAMETER["Longitude of natural origin",15,)"
    R"(ANGLEUNIT["degree",0.0174532925199433],ID["EPSG",8802]],)"
    R"(PARAMETER["Scale factor at natural origin",0.9996,SCALEUNIT["unity",1],ID["EPSG",8805]],)"
    R"(PARAMETER["False easting",500000,LENGTHUNIT["metre",1],ID["EPSG",8806]],)"
    R"(PARAMETER["False northing",0,LENGTHUNIT["metre",1],ID["EPSG",8807]]],CS[Cartesian,2],)"
    R"~(AXIS["(E)",east,ORDER[1],LENGTHUNIT["metre",1]],)~"
    R"~(AXIS["(N)",north,ORDER[2],LENGTHUNIT["metre",1]]])~";

const std::string kUtm33Esri =
    R"(PROJCS["WGS_1984_UTM_Zone_33N",GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",)"
    R"(SPHEROID["WGS_1984",6378137.0,298.257223563]],PRIMEM["Greenwich",0.0],)"
    R"(UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],)"
    R"(PARAMETER["False_Easting",500000.0],PARAMETER["False_Northing",0.0],)"
    R"(PARAMETER["Central_Meridian",15.0],PARAMETER["Scale_Factor",0.9996],)"
    R"(PARAMETER["Latitude_Of_Origin",0.0],UNIT["Meter",1.0]])";

const std::string kPolarWkt1 =
    R"(PROJCS["WGS 84 / NSIDC Sea Ice Polar Stereographic North",GEOGCS["WGS 84",)"
    R"(DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563,AUTHORITY["EPSG","7030"]],)"
    R"(AUTHORITY["EPSG","6326"]],PRIMEM["Greenwich",0,AUTHORITY["EPSG","8901"]],)"
    R"(UNIT["degree",0.0174532925199433,AUTHORITY["EPSG","9122"]],AUTHORITY["EPSG","4326"]],)"
    R"(PROJECTION["Polar_Stereographic"],PARAMETER["latitude_of_origin",70],)"
    R"(PARAMETER["central_meridian",-45],PARAMETER["false_easting",0],)"
    R"(PARAMETER["false_northing",0],UNIT["metre",1,AUTHORITY["EPSG","9001"]],)"
    R"(AUTHORITY["EPSG","3413"]])";

const std::string kLambertEsri =
    R"(PROJCS["RGF_1993_Lambert_93",GEOGCS["GCS_RGF_1993",DATUM["D_RGF_1993",)"
    R"(SPHEROID["GRS_1980",6378137.0,298.257222101]],PRIMEM["Greenwich",0.0],)"
    R"(UNIT["Degree",0.0174532925199433]],PROJECTION["Lambert_Conformal_Conic"],)"
    R"(PARAMETER["False_Easting",700000.0],PARAMETER["False_Northing",6600000.0],)"
    R"(PARAMETER["Central_Meridian",3.0],PARAMETER["Standard_Parallel_1",49.0],)"
    R"(PARAMETER["Standard_Parallel_2",44.0],PARAMETER["Latitude_Of_Origin",46.5],)"
    R"(UNIT["Meter",1.0]])";

} // namespace KxC::Test
