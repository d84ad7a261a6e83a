// SPDX-License-Identifier: MIT
#include "MosaicGrid.h"

#include "Command.h"
#include "KxImageData.h"
#include "KxTileFetcher.h"
#include "RasterArgument.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace KxTileHost {

namespace {

/// Bounds and resolutions are written in decimals: 10 / 0.1 must be 100.
constexpr double kDecimalsTolerance = 1e-6;

/// @throws CommandError (wrong usage) where there would be none, or too many
int PixelsOf(double length, double resolution)
{
    const double pixels = std::floor(length / resolution + kDecimalsTolerance);
    if (pixels < 1)
        throw CommandError(kExitWrongUsage,
                           fmt::format("the bounds are narrower than one pixel of {}", resolution),
                           "Bounds and resolution are in units of the coordinate system.");
    if (!(pixels <= KxC::KxImageData::kMaxSide))
        throw CommandError(kExitWrongUsage,
                           fmt::format("the picture would be {:.0f} pixels wide or high; at most "
                                       "{} can be",
                                       pixels,
                                       KxC::KxImageData::kMaxSide),
                           "Ask for a coarser --resolution, or for several pictures.");
    return static_cast<int>(pixels);
}

/// The shares of the resolution for which a row of pixels comes out right: from above the first to
/// the second.
struct Shares
{
    double m_above;
    double m_upTo;
};

/// Of a picture whose pixels are to be one resolution apart: the library makes as many as fit
/// between the middles of the first and the last.
Shares SharesOf(int pixels)
{
    if (pixels == 1)
        return {0.0, 1.0};
    return {(pixels - 1.0) / (pixels + 1.0), (pixels - 1.0) / pixels};
}

/// The resolution to ask for, of the level that `wanted` asks for.
double ResolutionToAsk(double wanted, int width, int height)
{
    constexpr double kAbove = 1 + 1e-9;
    const Shares across = SharesOf(width);
    const Shares up = SharesOf(height);
    const double share = std::max(std::min(across.m_upTo, up.m_upTo) / kAbove,
                                  std::max(across.m_above, up.m_above) * kAbove);
    const int level = KxC::KxTileFetcher::CalcTSZLevel(wanted);
    for (const double resolution : {wanted * share, MetresPerPixel(level) * kAbove})
        if (resolution < wanted && KxC::KxTileFetcher::CalcTSZLevel(resolution) == level)
            return resolution;
    return wanted;
}

/// The places of pixels along one axis.
struct Axis
{
    double m_first; ///< lower edge of the extent to ask for, and place of the first pixel
    double m_end;
    double m_step;
};

/// @param from  edge of the first pixel of the asked grid
Axis AxisOf(double from, double step, int pixels, double asked)
{
    // As near to the middles as gives that many pixels.
    const double span = std::max((pixels - 1) * step, pixels * asked);
    Axis axis{from + (pixels * step - span) / 2, 0, step};
    axis.m_end = axis.m_first + span;
    while ((axis.m_end - axis.m_first) / asked < pixels)
        axis.m_end = std::nextafter(axis.m_end, std::numeric_limits<double>::infinity());
    if (pixels > 1)
        axis.m_step = (axis.m_end - axis.m_first) / (pixels - 1);
    return axis;
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

MosaicGrid PlanMosaic(const MosaicRequest& request, double metresPerUnit)
{
    const KxC::KxRect2d& bounds = request.m_bounds;
    const double step = request.m_resolution * metresPerUnit;
    MosaicGrid grid{};
    grid.m_width = PixelsOf(bounds.Width(), request.m_resolution);
    grid.m_height = PixelsOf(bounds.Height(), request.m_resolution);
    if (static_cast<long long>(grid.m_width) * grid.m_height > KxC::KxImageData::kMaxPixels)
        throw CommandError(kExitWrongUsage,
                           fmt::format("{} x {} pixels are more than the {} million that a "
                                       "picture can have",
                                       grid.m_width,
                                       grid.m_height,
                                       KxC::KxImageData::kMaxPixels / 1000000),
                           "Ask for a coarser --resolution, or for several pictures.");
    grid.m_level = KxC::KxTileFetcher::CalcTSZLevel(step);
    grid.m_resolution = ResolutionToAsk(step, grid.m_width, grid.m_height);
    const double south = bounds.m_dTop * metresPerUnit - grid.m_height * step;
    const Axis x = AxisOf(bounds.m_dLeft * metresPerUnit, step, grid.m_width, grid.m_resolution);
    const Axis y = AxisOf(south, step, grid.m_height, grid.m_resolution);
    grid.m_extent = {x.m_first, y.m_end, x.m_end, y.m_first};
    grid.m_pixelWidth = x.m_step / metresPerUnit;
    grid.m_pixelHeight = y.m_step / metresPerUnit;
    grid.m_firstX = x.m_first / metresPerUnit;
    // A single row is taken from the south edge.
    grid.m_firstY = (grid.m_height == 1 ? y.m_first : y.m_end) / metresPerUnit;
    return grid;
}

} // namespace KxTileHost
