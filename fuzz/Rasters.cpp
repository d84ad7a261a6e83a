// SPDX-License-Identifier: MIT
// A raster file that holds anything, read by the plug-in as a host reads it. The first byte chooses
// the name's ending.
#include "FuzzTarget.h"
#include "KxPlugin.h"
#include "KxRasterDataAccessor.h"
#include "KxRasterDescription.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>

namespace {

using namespace KxC;

namespace fs = std::filesystem;

constexpr const char* kEndings[] = {".tif",
                                    ".vrt",
                                    ".png",
                                    ".jpg",
                                    ".img",
                                    ".asc",
                                    ".bmp",
                                    ".gif",
                                    ".jp2",
                                    ".webp",
                                    ".bil",
                                    ".hgt",
                                    ".dem",
                                    ".ntf"};

/// A folder below the one for temporary files, removed at the end; plug-ins are those of the build.
class Scratch
{
public:
    Scratch()
    {
        std::string path = (fs::temp_directory_path() / "kxfuzz-XXXXXX").string();
        Fuzz::Require(::mkdtemp(path.data()) != nullptr, "there is room for temporary files");
        m_path = path;
        ::setenv("KXTILE_PLUGIN_PATH", KX_PLUGIN_FOLDER, 1);
    }
    ~Scratch()
    {
        std::error_code error;
        fs::remove_all(m_path, error);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string Hold(const char* ending, const std::uint8_t* bytes, std::size_t size) const
    {
        const fs::path file = m_path / (std::string("a") + ending);
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
        return file.string();
    }

private:
    fs::path m_path;
};

int IndexOf(double degrees, int level)
{
    return static_cast<int>(std::floor((degrees + 180) / std::ldexp(360.0, -level)));
}

void ReadMiddle(KxRasterDataAccessor& accessor, int level)
{
    const KxRect2d bounds = accessor.GetLatLonBounds();
    KxImageData* image = nullptr;
    accessor.ReadTileImage(image,
                           level,
                           IndexOf((bounds.m_dBottom + bounds.m_dTop) / 2, level),
                           IndexOf((bounds.m_dLeft + bounds.m_dRight) / 2, level));
    const std::unique_ptr<KxImageData> owned(image);
    if (image == nullptr)
        return;
    Fuzz::Require(image->GetWidth() == 256 && image->GetHeight() == 256, "tiles have 256 pixels");
    // One byte past what is there would be noticed.
    volatile unsigned char last =
        image->GetData()[std::size_t{255} * static_cast<std::size_t>(image->GetRowBytes()) + 767];
    static_cast<void>(last);
}

void CheckPromises(const KxRasterDataAccessor& accessor, int minLevel, int maxLevel)
{
    const KxRect2d& bounds = accessor.GetLatLonBounds();
    Fuzz::Require(0 <= minLevel && minLevel <= maxLevel && maxLevel <= 30, "levels are in order");
    Fuzz::Require(bounds.m_dLeft >= -180 && bounds.m_dLeft < bounds.m_dRight &&
                      bounds.m_dRight <= 180 && bounds.m_dBottom >= -90 &&
                      bounds.m_dBottom < bounds.m_dTop && bounds.m_dTop <= 90,
                  "bounds lie on the earth");
}

void CheckDescription(const KxRasterDataAccessor& accessor)
{
    KxRasterDescription description;
    const auto* const describer = dynamic_cast<const KxRasterDescriber*>(&accessor);
    Fuzz::Require(describer != nullptr, "readers describe their rasters");
    describer->Describe(description);
    Fuzz::Require(description.m_nWidth > 0 && description.m_nHeight > 0 && description.m_nBands > 0,
                  "a raster has pixels");
    Fuzz::Require(description.m_nEpsg >= 0, "codes are numbers");
    Fuzz::Require(!description.m_bAcrossAntimeridian ||
                      (description.m_dWest <= 180 && description.m_dWest > description.m_dEast &&
                       description.m_dEast >= -180),
                  "a raster across the antimeridian has its west in the east");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const Scratch scratch;
    if (size == 0)
        return 0;
    const char* ending = kEndings[bytes[0] % std::size(kEndings)];
    const std::string path = scratch.Hold(ending, bytes + 1, size - 1);
    const std::unique_ptr<KxRasterDataAccessor> accessor(static_cast<KxRasterDataAccessor*>(
        m_gPluginManager.FindPluginByExt("AccessorPlugin", ending)));
    Fuzz::Require(accessor != nullptr, "the plug-in takes its endings");
    if (accessor->Open(path.c_str()) != 0) {
        const int maxLevel = accessor->GetMaxLevel();
        const int minLevel = accessor->GetMinLevel();
        CheckPromises(*accessor, minLevel, maxLevel);
        CheckDescription(*accessor);
        ReadMiddle(*accessor, maxLevel);
        ReadMiddle(*accessor, std::max(minLevel, maxLevel - 2));
    }
    fs::remove(path);
    return 0;
}
