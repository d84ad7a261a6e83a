// SPDX-License-Identifier: MIT
#include "KxTime.h"

namespace KxC {

KxTime::KxTime() : KxTime(0, 0, 0) {}

KxTime::KxTime(int year, int month, int day) : m_nYear(year), m_nMonth(month), m_nDay(day) {}

int KxTime::GetYear() const
{
    return m_nYear;
}

int KxTime::GetMonth() const
{
    return m_nMonth;
}

int KxTime::GetDay() const
{
    return m_nDay;
}

} // namespace KxC
