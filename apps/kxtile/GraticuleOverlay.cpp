// SPDX-License-Identifier: MIT
#include "GraticuleOverlay.h"

#include "Font.h"

#include <fmt/format.h>

#include <cmath>

namespace KxTileHost {

namespace {

constexpr Colour kLine{230, 0, 150};
constexpr Colour kLabelGround{255, 245, 252};
constexpr int kLinesAcross = 5;
constexpr int kLabelGap = 2; ///< pixels
constexpr int kLabelHeight = KxDrawing::kGlyphHeight + 2 * kLabelGap;

/// Degrees across the whole view along one axis, from how far a small step reaches.
double DegreesAcross(double stepDegrees, double stepPixels)
{
    return stepDegrees * ViewFrame::kSide / std::abs(stepPixels);
}

int LabelWidth(const std::string& text)
{
    return KxDrawing::TextWidth(text) + 2 * kLabelGap;
}

void DrawLabel(Canvas& canvas, int left, int top, const std::string& text)
{
    const int width = LabelWidth(text);
    canvas.Fill(left, top, width, kLabelHeight, kLabelGround);
    canvas.Write(left + kLabelGap, top + kLabelGap, width, 1, text, kLine);
}

bool IsInView(double pixel)
{
    return pixel >= 0.0 && pixel < ViewFrame::kSide; // false for what is no number
}

} // namespace

GraticuleOverlay::GraticuleOverlay(const ViewFrame& frame, const GeoPoint& place) : m_place(place)
{
    // Small against any view, large against the rounding of positions.
    const double step = 1e-3 * 360.0 / std::exp2(frame.m_level);
    const double inward = place.m_lon > 0.0 ? -step : step;
    const double toEquator = place.m_lat > 0.0 ? -step : step;
    const KxC::KxPoint2d here = frame.PixelOf(place);
    const KxC::KxPoint2d beside = frame.PixelOf({place.m_lon + inward, place.m_lat + toEquator});
    m_meridians = SpacingFor(DegreesAcross(step, beside.x - here.x) / kLinesAcross);
    m_parallels = SpacingFor(DegreesAcross(step, beside.y - here.y) / kLinesAcross);
}

GraticuleOverlay::Axis GraticuleOverlay::SpacingFor(double degrees)
{
    for (int decimals = -1;; ++decimals)
        for (const int numerator : {9, 5, 2, 1}) {
            // 90 divides the world, 9 and 0.9 would not read well.
            if (numerator == 9 && decimals >= 0)
                continue;
            const double spacing = numerator * std::pow(10.0, -decimals);
            if (spacing <= degrees || decimals > 8)
                return {spacing, decimals < 0 ? 0 : decimals};
        }
}

double GraticuleOverlay::Axis::LineAt(double middle, int step) const
{
    return (std::round(middle / m_spacing) + step) * m_spacing;
}

std::string GraticuleOverlay::Axis::Label(double degrees, char positive, char negative) const
{
    return fmt::format(
        "{:.{}f}{}", std::abs(degrees), m_decimals, degrees < 0.0 ? negative : positive);
}

void GraticuleOverlay::Draw(Canvas& canvas, int left, int top, const ViewFrame& frame) const
{
    constexpr int side = ViewFrame::kSide;
    constexpr int reach = 4 * kLinesAcross;
    double taken = 0.0; // pixels from the left that hold labels already
    for (int step = -reach; step <= reach; ++step) {
        const double longitude = m_meridians.LineAt(m_place.m_lon, step);
        const double column = frame.PixelOf({longitude, m_place.m_lat}).x;
        if (!IsInView(column))
            continue;
        const int x = left + static_cast<int>(column);
        canvas.Fill(x, top, 1, side, kLine);
        const std::string label = m_meridians.Label(longitude, 'E', 'W');
        const double end = column + LabelWidth(label) + 1;
        if (column < taken || end >= side)
            continue;
        DrawLabel(canvas, x + 1, top + side - kLabelHeight, label);
        taken = end;
    }
    for (int step = -reach; step <= reach; ++step) {
        const double latitude = m_parallels.LineAt(m_place.m_lat, step);
        const double row = frame.PixelOf({m_place.m_lon, latitude}).y;
        if (!IsInView(row))
            continue;
        const int y = top + static_cast<int>(row);
        canvas.Fill(left, y, side, 1, kLine);
        if (row + kLabelHeight < side)
            DrawLabel(canvas, left, y + 1, m_parallels.Label(latitude, 'N', 'S'));
    }
}

} // namespace KxTileHost
