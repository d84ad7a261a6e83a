// SPDX-License-Identifier: MIT
/// Rasters that tests make up: what a reader plug-in would offer of them.
#pragma once

#include "KxRasterDataAccessor.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace KxC::Testing {

/// What every raster is like while it lives; one at a time. The plug-in takes ".tif" and ".mbt",
/// and ".shp" where there is a projection. A raster that an earlier test has left open in a
/// registry is like the others, but for its bounds and kind, which are those of its opening.
class ScriptedRasters
{
public:
    ScriptedRasters();
    ~ScriptedRasters();
    ScriptedRasters(const ScriptedRasters&) = delete;
    ScriptedRasters& operator=(const ScriptedRasters&) = delete;

    bool m_available = true;
    bool m_opens = true;
    bool m_hasMemory = true; ///< for what opening takes
    int m_minLevel = 0;
    int m_maxLevel = 20;
    KxRect2d m_bounds{-180, 90, 180, -90};
    bool m_stored = false; ///< kept as Web Mercator tiles
    int m_readStatus = 5;
    std::string m_storedBytes;
    /// The picture of a tile by level, row and column; null for none.
    std::function<std::unique_ptr<KxImageData>(int, int, int)> m_image;
    /// Source point to longitude and latitude, degrees; false where it cannot be converted.
    /// Transforms that are made while it is here keep it.
    std::function<bool(const KxPoint3d&, KxPoint3d&)> m_toWgs84;
    void Note(std::string call);
    std::vector<std::string> m_calls; ///< "Open path", "image 3/2/1", "stored 3/2/1", "destroyed"

private:
    std::mutex m_mutex; ///< guards m_calls while several threads cut
};

/// A new accessor of the rasters in force; null when there are none or the extension is another.
KxPlugin* MakeScriptedRaster(const KxString& kind, const KxString& ext);

} // namespace KxC::Testing
