// SPDX-License-Identifier: MIT
#pragma once

#include <gdal.h>

namespace KxC {

/// Ends reads that take too long, whatever a file makes of them: sizes alone do not tell what a
/// virtual raster asks for. Counts the processor's time on the thread that made it, so that a busy
/// machine changes nothing. That thread's alone.
class ReadBudget
{
public:
    /// @param seconds  of the processor's time, from now on
    explicit ReadBudget(double seconds);

    bool IsSpent() const;

    /// Arguments by which a read gives up, with an error, when the budget is spent. The budget
    /// outlives the read.
    GDALRasterIOExtraArg Arguments();

private:
    double m_end;
};

} // namespace KxC
