// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

namespace KxC {

/// An upright rectangle; y grows northward, so top is the larger y.
struct KXCOMMON_API KxRect2d
{
    KxRect2d() = default;
    KxRect2d(double left, double top, double right, double bottom)
        : m_dLeft(left), m_dTop(top), m_dRight(right), m_dBottom(bottom)
    {
    }

    double Width() const;
    double Height() const;
    /// The smallest rectangle that holds both.
    KxRect2d Union(const KxRect2d& other) const;
    /// Whether both have a point in common, when each is widened by half of `tolerance`.
    bool IsIntersect(const KxRect2d& other, double tolerance) const;

    double m_dLeft = 0.0;
    double m_dTop = 0.0;
    double m_dRight = 0.0;
    double m_dBottom = 0.0;
};

} // namespace KxC
