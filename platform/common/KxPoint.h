// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

namespace KxC {

/// A position in the plane; units are the user's.
struct KXCOMMON_API KxPoint2d
{
    KxPoint2d() = default;
    KxPoint2d(double xValue, double yValue) : x(xValue), y(yValue) {}

    double x = 0.0;
    double y = 0.0;
};

/// A position in space; units are the user's.
struct KXCOMMON_API KxPoint3d
{
    KxPoint3d() = default;
    KxPoint3d(double xValue, double yValue, double zValue) : x(xValue), y(yValue), z(zValue) {}

    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

} // namespace KxC
