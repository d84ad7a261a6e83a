// SPDX-License-Identifier: MIT
#pragma once

#include "KxCoordSysTrans.h"

#include <optional>
#include <string>

namespace KxTileHost {

/// A coordinate system by the name that a user gave it: "EPSG:32650" or another authority's code, a
/// PROJ string, WKT, or the path of a .prj file.
class Crs
{
public:
    /// @throws CommandError: what is wrong with the text, or what is missing to understand it
    explicit Crs(const std::string& text);

    const std::string& Text() const { return m_text; }
    KxC::ProjectStringType Form() const { return m_form; }
    const KxC::KxCoordSysTrans& Transform() const { return *m_transform; }

    /// Longitude and latitude of a point; nothing where it cannot be converted.
    std::optional<KxC::KxPoint2d> ToDegrees(double x, double y) const;
    /// Whether its units are degrees of longitude and latitude, whatever the datum.
    bool IsInDegrees() const;
    /// Whether its points are those of WGS 84.
    bool IsWgs84() const;
    /// The number of "EPSG:..."; nothing for other systems.
    std::optional<int> EpsgCode() const;

private:
    std::string m_text;
    KxC::ProjectStringType m_form;
    const KxC::KxCoordSysTrans* m_transform; ///< the registry's
};

/// The text of a .prj file.
/// @throws CommandError where the plug-in that knows is missing, or the system has no such text
std::string EsriPrjOf(const Crs& crs);

} // namespace KxTileHost
