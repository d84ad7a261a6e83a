// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

namespace KxC {

/// A calendar date. Nothing is checked: a date that does not exist is kept as given.
/// Threads: separate objects are independent; const use of one object may be shared.
class KXCOMMON_API KxTime
{
public:
    /// Year, month and day 0: no date.
    KxTime();
    /// @param month  1 to 12
    /// @param day    1 to 31
    KxTime(int year, int month, int day);

    int GetYear() const;
    int GetMonth() const;
    int GetDay() const;

private:
    int m_nYear;
    int m_nMonth;
    int m_nDay;
};

} // namespace KxC
