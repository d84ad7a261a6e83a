// SPDX-License-Identifier: MIT
#pragma once

#include "EarthOrders.h"
#include "Pixels.h"

namespace KxOrigin {

/// Tints a picture in the colour of a date and writes the date across it in large letters.
void StampDate(Pixels& pixels, const EarthHistoryDate& date);

/// The north-west corner.
/// @param edge  pixels, no more than the picture has
Pixels Crop(const Pixels& pixels, int edge);

/// The picture in the form that the options ask for. An alpha channel is 255 in the western half
/// and 0 in the eastern half.
Bytes EncodeEarthPicture(const EarthOptions& options, const Pixels& pixels, int provider);

} // namespace KxOrigin
