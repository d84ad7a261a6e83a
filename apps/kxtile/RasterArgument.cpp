// SPDX-License-Identifier: MIT
#include "RasterArgument.h"

#include "Command.h"
#include "KxFile.h"
#include "KxMath.h"
#include "KxPlugin.h"
#include "KxRasterAccessorManager.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <numbers>

namespace KxTileHost {

namespace {

constexpr double kPixelsPerTile = 256;

/// Says why no raster opened.
/// @param why  in the reader's words; empty when there is none
[[noreturn]] void ThrowNotOpened(const std::string& path, const std::string& why)
{
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        throw CommandError(kExitFailed, fmt::format("there is no file '{}'", path));
    const KxC::KxString ext = KxC::KxFile::GetExt(path.c_str());
    const std::unique_ptr<KxC::KxPlugin> reader(
        KxC::m_gPluginManager.FindPluginByExt("AccessorPlugin", ext));
    if (reader == nullptr)
        throw CommandError(kExitFailed,
                           fmt::format("no plug-in reads '{}' files", ext.Cstr()),
                           "Readers are found in the plug-in folder, or in $KXTILE_PLUGIN_PATH.");
    if (reader->IsAvailable() == 0)
        throw CommandError(kExitFailed,
                           fmt::format("the plug-in that reads '{}' files cannot work", ext.Cstr()),
                           "PROJ's database is missing: install PROJ's data, or set PROJ_DATA to "
                           "its folder.");
    throw CommandError(
        kExitFailed,
        fmt::format("cannot open the raster '{}'{}{}", path, why.empty() ? "" : ": ", why));
}

void WarnOfAssumption(const std::string& path, const KxC::KxRasterDescription& description)
{
    if (description.m_bCrsAssumed)
        fmt::print(stderr,
                   "kxtile: warning: '{}' does not say its coordinate system; {} is assumed, "
                   "because its numbers fit. A .prj file beside it would say it.\n",
                   Printable(path),
                   description.m_strCrsName.Cstr());
}

} // namespace

KxC::KxRasterDataAccessor& OpenRasterFile(const std::string& path, AssumedCrs assumed)
{
    KxC::KxRasterDataAccessor* const raster =
        KxC::m_gRasterAccessorManager.OpenDataAccessor(path.c_str());
    if (raster == nullptr)
        ThrowNotOpened(path, KxC::KxRasterDataAccessor::GetThreadError().Cstr());
    if (assumed == AssumedCrs::Warn)
        WarnOfAssumption(path, DescriptionOf(*raster));
    return *raster;
}

KxC::KxRasterDescription DescriptionOf(const KxC::KxRasterDataAccessor& raster)
{
    KxC::KxRasterDescription description;
    if (const auto* const describer = dynamic_cast<const KxC::KxRasterDescriber*>(&raster))
        describer->Describe(description);
    return description;
}

GeoBounds ExtentOf(const KxC::KxRasterDataAccessor& raster)
{
    const KxC::KxRect2d& rect = raster.GetLatLonBounds();
    GeoBounds bounds{rect.m_dLeft, rect.m_dBottom, rect.m_dRight, rect.m_dTop};
    const KxC::KxRasterDescription description = DescriptionOf(raster);
    if (description.m_bAcrossAntimeridian) {
        bounds.m_west = description.m_dWest;
        bounds.m_east = description.m_dEast;
    }
    return bounds;
}

double MetresPerPixel(int level)
{
    return 2 * std::numbers::pi * KxC::KxMath::kSphereRadius / kPixelsPerTile / std::exp2(level);
}

std::string ShortNumber(double number)
{
    return fmt::format("{:.4g}", number);
}

} // namespace KxTileHost
