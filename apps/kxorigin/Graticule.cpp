// SPDX-License-Identifier: MIT
#include "Graticule.h"

#include "Font.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <vector>

namespace KxOrigin {

using KxDrawing::HasInk;
using KxDrawing::kGlyphAdvance;
using KxDrawing::kGlyphHeight;
using KxDrawing::kGlyphWidth;

namespace {

constexpr int kLabelGap = 3; ///< pixels between a line and the label beside it
constexpr int kTextRow = kGlyphHeight + 2;

constexpr std::array<std::int64_t, 7> kPowersOfTen{1, 10, 100, 1000, 10000, 100000, 1000000};

// Every spacing divides 90 evenly, so that there is a line on each pole and the cells' tones meet
// where the world closes.
constexpr std::array<Spacing, 24> kSpacings{{
    {90, 0}, {45, 0}, {30, 0}, {15, 0}, {10, 0}, {5, 0}, {2, 0}, {1, 0},
    {5, 1},  {2, 1},  {1, 1},  {5, 2},  {2, 2},  {1, 2}, {5, 3}, {2, 3},
    {1, 3},  {5, 4},  {2, 4},  {1, 4},  {5, 5},  {2, 5}, {1, 5}, {5, 6},
}};

/// Pixels across that the widest label of one axis takes: three digits, decimals, a letter.
int WidestLabel(const Spacing& spacing)
{
    const int characters = 4 + (spacing.decimals > 0 ? 1 + spacing.decimals : 0);
    return characters * kGlyphAdvance;
}

double CellPixels(const Spacing& spacing, int level)
{
    return static_cast<double>(SidePixels(level)) / 360 * spacing.Degrees();
}

/// One line across or down the picture.
struct Line
{
    std::int64_t index;
    std::int64_t pixel; ///< counted from the grid's edge
    std::string label;
};

std::int64_t ToPixel(double position, std::int64_t side)
{
    return static_cast<std::int64_t>(std::floor(position * static_cast<double>(side)));
}

/// Lines that matter to a stretch of `kTileEdge` pixels: those in it, those whose labels reach into
/// it, and one before it, whose cell begins the stretch.
/// @param pixelOf  pixel of the line with an index; grows as the index moves by `step`
template <typename PixelOf>
std::vector<Line>
CollectLines(std::int64_t firstIndex, int step, std::int64_t end, const PixelOf& pixelOf)
{
    std::vector<Line> lines;
    for (std::int64_t index = firstIndex;; index += step) {
        const std::int64_t pixel = pixelOf(index);
        if (pixel >= end)
            return lines;
        lines.push_back({index, pixel, {}});
    }
}

/// What one tile needs to know of the graticule.
class Plan
{
public:
    Plan(const Grid& grid, const PixelWindow& window)
        : m_grid(grid), m_window(window), m_side(SidePixels(window.level)),
          m_spacing(SpacingAt(window.level)), m_meridians(Meridians()), m_parallels(Parallels())
    {
    }

    void DrawGround(Pixels& tile) const
    {
        const std::vector<bool> columns = Parities(m_meridians, m_window.left);
        const std::vector<bool> rows = Parities(m_parallels, m_window.top);
        for (int row = 0; row < kTileEdge; ++row) {
            const bool beyondPoles = IsBeyondPoles(row);
            for (int column = 0; column < kTileEdge; ++column) {
                const bool odd = columns[static_cast<std::size_t>(column)] !=
                                 rows[static_cast<std::size_t>(row)];
                tile.At(column, row) = beyondPoles ? Graticule::kBeyondPoles
                                       : odd       ? Graticule::kOddGround
                                                   : Graticule::kEvenGround;
            }
        }
    }

    void DrawLabels(Pixels& tile) const
    {
        for (const Line& meridian : m_meridians) {
            for (const Line& parallel : m_parallels) {
                if (IsOnPlane(meridian) && IsOnPlane(parallel))
                    DrawLabel(tile, meridian, parallel);
            }
        }
    }

    void DrawLines(Pixels& tile) const
    {
        for (const Line& meridian : m_meridians)
            DrawMeridian(tile, meridian.pixel - m_window.left);
        for (const Line& parallel : m_parallels)
            DrawParallel(tile, parallel.pixel - m_window.top);
    }

private:
    std::vector<Line> Meridians() const
    {
        const std::int64_t reach = m_window.left - 2L * WidestLabel(m_spacing);
        const double west = m_grid.Longitude(Position(reach));
        const auto first = static_cast<std::int64_t>(std::floor(west / m_spacing.Degrees())) - 1;
        auto lines = CollectLines(first, 1, m_window.left + kTileEdge, [&](std::int64_t index) {
            return ToPixel(m_grid.Across(m_spacing.LineDegrees(index)), m_side);
        });
        for (Line& line : lines)
            line.label = LineLabel(m_spacing, line.index, 'E', 'W');
        return lines;
    }

    std::vector<Line> Parallels() const
    {
        const double north = m_grid.Latitude(Position(m_window.top - 2L * kTextRow));
        const auto last = static_cast<std::int64_t>(std::lround(90 / m_spacing.Degrees()));
        const auto above = static_cast<std::int64_t>(std::ceil(north / m_spacing.Degrees())) + 1;
        auto lines = CollectLines(
            std::min(above, last), -1, m_window.top + kTileEdge, [&](std::int64_t index) {
                // Past the south pole there is nothing more to collect.
                return index < -last ? m_side
                                     : ToPixel(m_grid.Down(m_spacing.LineDegrees(index)), m_side);
            });
        for (Line& line : lines)
            line.label = LineLabel(m_spacing, line.index, 'N', 'S');
        return lines;
    }

    double Position(std::int64_t pixel) const
    {
        return static_cast<double>(pixel) / static_cast<double>(m_side);
    }

    bool IsOnPlane(const Line& line) const { return line.pixel >= 0 && line.pixel < m_side; }

    bool IsBeyondPoles(int row) const
    {
        const double middle = static_cast<double>(m_window.top + row) + 0.5;
        return std::abs(m_grid.Latitude(middle / static_cast<double>(m_side))) > 90;
    }

    /// Whether each pixel of the stretch lies in a cell of odd index.
    static std::vector<bool> Parities(const std::vector<Line>& lines, std::int64_t start)
    {
        std::vector<bool> parities(kTileEdge);
        for (const Line& line : lines) {
            const std::int64_t from = std::max<std::int64_t>(line.pixel - start, 0);
            std::fill(parities.begin() + from, parities.end(), line.index % 2 != 0);
        }
        return parities;
    }

    static void DrawMeridian(Pixels& tile, std::int64_t column)
    {
        for (int row = 0; column >= 0 && row < kTileEdge; ++row)
            tile.At(static_cast<int>(column), row) = Graticule::kLine;
    }

    static void DrawParallel(Pixels& tile, std::int64_t row)
    {
        for (int column = 0; row >= 0 && column < kTileEdge; ++column)
            tile.At(column, static_cast<int>(row)) = Graticule::kLine;
    }

    /// Both parts on one line where the cell is wide enough, else one above the other.
    void DrawLabel(Pixels& tile, const Line& meridian, const Line& parallel) const
    {
        const std::int64_t x = meridian.pixel - m_window.left + kLabelGap;
        const std::int64_t y = parallel.pixel - m_window.top + kLabelGap;
        const int bothWide = 2 * WidestLabel(m_spacing) + kGlyphAdvance + kLabelGap;
        if (CellPixels(m_spacing, m_window.level) >= bothWide) {
            DrawText(tile, x, y, meridian.label + " " + parallel.label);
            return;
        }
        DrawText(tile, x, y, meridian.label);
        DrawText(tile, x, y + kTextRow, parallel.label);
    }

    static void DrawText(Pixels& tile, std::int64_t x, std::int64_t y, std::string_view text)
    {
        for (const char character : text) {
            DrawGlyph(tile, x, y, character);
            x += kGlyphAdvance;
        }
    }

    static void DrawGlyph(Pixels& tile, std::int64_t x, std::int64_t y, char character)
    {
        for (int row = 0; row < kGlyphHeight; ++row) {
            for (int column = 0; column < kGlyphWidth; ++column) {
                if (HasInk(character, column, row))
                    DrawDot(tile, x + column, y + row);
            }
        }
    }

    static void DrawDot(Pixels& tile, std::int64_t x, std::int64_t y)
    {
        if (x >= 0 && x < kTileEdge && y >= 0 && y < kTileEdge)
            tile.At(static_cast<int>(x), static_cast<int>(y)) = Graticule::kInk;
    }

    const Grid& m_grid;
    PixelWindow m_window;
    std::int64_t m_side;
    Spacing m_spacing;
    std::vector<Line> m_meridians;
    std::vector<Line> m_parallels;
};

} // namespace

double Spacing::Degrees() const
{
    return LineDegrees(1);
}

double Spacing::LineDegrees(std::int64_t index) const
{
    // One division of whole numbers: the double nearest to the line's decimal text.
    return static_cast<double>(index * numerator) /
           static_cast<double>(kPowersOfTen[static_cast<std::size_t>(decimals)]);
}

Spacing SpacingAt(int level)
{
    Spacing finest = kSpacings.front();
    for (const Spacing& spacing : kSpacings) {
        const int needed = std::max(WidestLabel(spacing), 2 * kTextRow) + kLabelGap;
        if (CellPixels(spacing, level) < needed)
            break;
        finest = spacing;
    }
    return finest;
}

std::string LineLabel(const Spacing& spacing, std::int64_t index, char positive, char negative)
{
    const std::int64_t power = kPowersOfTen[static_cast<std::size_t>(spacing.decimals)];
    const std::int64_t scaled = std::abs(index) * spacing.numerator;
    std::string text = std::to_string(scaled / power);
    if (scaled % power != 0) {
        // The leading 1 keeps the zeros behind the point.
        std::string digits = std::to_string(power + scaled % power);
        digits.front() = '.';
        digits.erase(digits.find_last_not_of('0') + 1);
        text += digits;
    }
    return text + (index < 0 ? negative : positive);
}

Pixels Graticule::Draw(const Grid& grid, const PixelWindow& window) const
{
    const Plan plan(grid, window);
    Pixels tile(kTileEdge, kTileEdge);
    plan.DrawGround(tile);
    plan.DrawLabels(tile);
    plan.DrawLines(tile);
    return tile;
}

} // namespace KxOrigin
