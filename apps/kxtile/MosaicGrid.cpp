// SPDX-License-Identifier: MIT
#include "MosaicGrid.h"

#include "Command.h"
#include "KxImageData.h"
#include "KxTileFetcher.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cmath>

namespace KxTileHost {

namespace {

/// Bounds and resolutions are written in decimals: 10 / 0.1 must be 100.
constexpr double kDecimalsTolerance = 1e-6;

/// How many pixels begin in a length, and lie in it as a whole.
/// @throws CommandError (wrong usage) where there are none
double PixelsOf(double length, double resolution)
{
    const double pixels = std::floor(length / resolution + kDecimalsTolerance);
    if (pixels < 1)
        throw CommandError(kExitWrongUsage,
                           fmt::format("the bounds are narrower than one pixel of {}", resolution),
                           "Bounds and resolution are in units of the coordinate system.");
    return pixels;
}

/// Whether the library makes pictures of so many pixels: rows are whole 4-byte words, and there is
/// one more with alpha.
bool AreBytesPossible(double width, double height, int pixelBytes)
{
    return width * 4 <= static_cast<double>(KxC::KxImageData::kMaxBytes) &&
           std::ceil(width * pixelBytes / 4) * 4 * height <=
               static_cast<double>(KxC::KxImageData::kMaxBytes);
}

} // namespace

KxC::KxRect2d ParseBounds(const std::string& text)
{
    std::array<double, 4> numbers{};
    const char* at = text.data();
    const char* const end = at + text.size();
    bool good = true;
    for (std::size_t i = 0; i < numbers.size() && good; ++i) {
        if (i > 0)
            good = at != end && *at++ == ',';
        while (at != end && *at == ' ')
            ++at;
        const auto read = std::from_chars(at, end, numbers[i]);
        good = good && read.ec == std::errc() && std::isfinite(numbers[i]);
        at = read.ptr;
    }
    const auto [west, south, east, north] = numbers;
    if (!good || at != end)
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' are no bounds", text),
                           "Write WEST,SOUTH,EAST,NORTH, for instance 5.9,45.8,10.5,47.8.");
    if (!(west < east && south < north))
        throw CommandError(kExitWrongUsage,
                           fmt::format("the bounds '{}' are empty", text),
                           "West is less than east, south less than north; the order is "
                           "WEST,SOUTH,EAST,NORTH.");
    return {west, north, east, south};
}

bool MosaicGrid::IsPossible(int pixelBytes) const
{
    return AreBytesPossible(m_width, m_height, pixelBytes);
}

MosaicGrid PlanMosaic(const MosaicRequest& request, double metresPerUnit)
{
    const KxC::KxRect2d& bounds = request.m_bounds;
    const double step = request.m_resolution;
    const double width = PixelsOf(bounds.Width(), step);
    const double height = PixelsOf(bounds.Height(), step);
    if (!AreBytesPossible(width, height, 3))
        throw CommandError(
            kExitWrongUsage,
            fmt::format("{:.0f} x {:.0f} pixels are more than the 2 GiB that a picture can have",
                        width,
                        height),
            "Ask for a coarser --resolution, or for several pictures.");
    MosaicGrid grid{};
    grid.m_width = static_cast<int>(width);
    grid.m_height = static_cast<int>(height);
    grid.m_level = KxC::KxTileFetcher::CalcTSZLevel(step * metresPerUnit);
    grid.m_extent = {bounds.m_dLeft * metresPerUnit,
                     bounds.m_dTop * metresPerUnit,
                     (bounds.m_dLeft + width * step) * metresPerUnit,
                     (bounds.m_dTop - height * step) * metresPerUnit};
    grid.m_pixelSize = step;
    grid.m_firstX = bounds.m_dLeft + step / 2;
    grid.m_firstY = bounds.m_dTop - step / 2;
    return grid;
}

} // namespace KxTileHost
