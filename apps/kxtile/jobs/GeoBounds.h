// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace KxTileHost {

/// A part of the earth between two meridians and two parallels, WGS 84, degrees.
struct GeoBounds
{
    double m_west = 0.0;  ///< [-180, 180]; greater than m_east where the antimeridian lies inside
    double m_south = 0.0; ///< [-90, m_north]
    double m_east = 0.0;  ///< [-180, 180]
    double m_north = 0.0; ///< [m_south, 90]

    bool CrossesAntimeridian() const { return m_west > m_east; }
};

/// Reads "WEST,SOUTH,EAST,NORTH".
/// @throws CommandError (wrong usage) for anything else, and for what the earth has not
GeoBounds ParseGeoBounds(const std::string& text);

} // namespace KxTileHost
