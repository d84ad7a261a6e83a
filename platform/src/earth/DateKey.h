// SPDX-License-Identifier: MIT
#pragma once

#include "KxTime.h"

#include <cstdint>

namespace KxC::Earth {

/// A day as the protocol writes it: year << 9 | month << 5 | day; later days are greater numbers.
using DateKey = std::uint32_t;

/// Up to this key, 1 January of the year 1, imagery is of no known date.
constexpr DateKey kUndated = 545;
constexpr DateKey kLatestDate = 4095U << 9 | 12U << 5 | 31U;

/// The key of a wanted date. No date at all (year, month and day 0) wants the latest imagery;
/// a year before 1 wants what cannot be; months and days outside their ranges become the nearest.
DateKey KeyOfDate(const KxTime& date);

/// The day of a key; month and day 0 where they are not known.
KxTime DateOfKey(DateKey key);

/// Whether a key from a packet is a day that imagery can be asked for.
constexpr bool IsDated(DateKey key)
{
    return key > kUndated && key <= kLatestDate;
}

} // namespace KxC::Earth
