// SPDX-License-Identifier: MIT
#include "KxRect2d.h"

#include <algorithm>

namespace KxC {

double KxRect2d::Width() const
{
    return m_dRight - m_dLeft;
}

double KxRect2d::Height() const
{
    return m_dTop - m_dBottom;
}

KxRect2d KxRect2d::Union(const KxRect2d& other) const
{
    return {std::min(m_dLeft, other.m_dLeft),
            std::max(m_dTop, other.m_dTop),
            std::max(m_dRight, other.m_dRight),
            std::min(m_dBottom, other.m_dBottom)};
}

bool KxRect2d::IsIntersect(const KxRect2d& other, double tolerance) const
{
    return m_dLeft <= other.m_dRight + tolerance && other.m_dLeft <= m_dRight + tolerance &&
           m_dBottom <= other.m_dTop + tolerance && other.m_dBottom <= m_dTop + tolerance;
}

} // namespace KxC
