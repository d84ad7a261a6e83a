// SPDX-License-Identifier: MIT
#pragma once

#include "Crs.h"
#include "KxRect2d.h"

#include <string>

namespace KxTileHost {

/// The system that the library is asked in for a picture. It takes resolutions as metres whatever
/// the units; so a system in other units is asked for in its twin in metres, and is the same
/// picture.
struct MetricSystem
{
    std::string m_text;
    KxC::ProjectStringType m_form;
    double m_metresPerUnit; ///< of a unit of the system that the user named
    std::string m_units;    ///< their name: "metres", "degrees", "feet" or "units"
};

/// @param bounds  in units of the system; there the twin is tried
/// @throws CommandError where no system in metres has the same places
MetricSystem InMetres(const Crs& crs, const KxC::KxRect2d& bounds);

} // namespace KxTileHost
