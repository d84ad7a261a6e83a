// SPDX-License-Identifier: MIT
#pragma once

#include "Canvas.h"
#include "SourceView.h"

#include <string>

namespace KxTileHost {

/// Labelled meridians and parallels where a view ought to show them.
class GraticuleOverlay
{
public:
    /// Chooses the lines: round degrees, some four or five across the view.
    /// @param frame  a view around `place`
    GraticuleOverlay(const ViewFrame& frame, const GeoPoint& place);

    /// Draws the lines on a view whose upper left pixel is at `left`, `top` of the canvas.
    void Draw(Canvas& canvas, int left, int top, const ViewFrame& frame) const;

private:
    struct Axis
    {
        double m_spacing = 1.0; ///< degrees
        int m_decimals = 0;     ///< that the spacing needs

        /// Degrees of the line `step` lines beyond the one next to `middle`.
        double LineAt(double middle, int step) const;
        std::string Label(double degrees, char positive, char negative) const;
    };

    static Axis SpacingFor(double degrees);

    GeoPoint m_place;
    Axis m_meridians;
    Axis m_parallels;
};

} // namespace KxTileHost
