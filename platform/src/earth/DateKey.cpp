// SPDX-License-Identifier: MIT
#include "DateKey.h"

#include <algorithm>

namespace KxC::Earth {

DateKey KeyOfDate(const KxTime& date)
{
    if (date.GetYear() == 0 && date.GetMonth() == 0 && date.GetDay() == 0)
        return kLatestDate;
    if (date.GetYear() < 1)
        return 0;
    if (date.GetYear() > 4095)
        return kLatestDate;
    const int month = std::clamp(date.GetMonth(), 0, 12);
    const int day = std::clamp(date.GetDay(), 0, 31);
    return static_cast<DateKey>(date.GetYear() << 9 | month << 5 | day);
}

KxTime DateOfKey(DateKey key)
{
    return {
        static_cast<int>(key >> 9), static_cast<int>(key >> 5 & 0xF), static_cast<int>(key & 0x1F)};
}

} // namespace KxC::Earth
