// SPDX-License-Identifier: MIT
#pragma once

#include "KxMath.h"

#include <optional>
#include <string>

namespace KxTileHost::Serve {

/// Degrees.
struct Place
{
    double m_longitude = 0.0;
    double m_latitude = 0.0;
};

/// Reads "LON,LAT"; nothing for anything else, and for what is not on the earth.
std::optional<Place> ReadPlace(const std::string& text);
/// Reads a level of 0 to 30.
std::optional<int> ReadLevel(const std::string& text);

/// The numbers of another datum for a place of WGS 84.
Place OnDatum(const Place& place, KxC::KxDatum datum);

} // namespace KxTileHost::Serve
