// SPDX-License-Identifier: MIT
#include "Graticule.h"

#include "Font.h"
#include "WindowMap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
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

/// A crossing that has a label, pixels counted from the window's corner.
struct Crossing
{
    std::int64_t meridian;
    std::int64_t parallel;
    std::int64_t x;
    std::int64_t y;
};

/// What one tile needs to know of the graticule.
class Plan
{
public:
    Plan(const Grid& grid, const PixelWindow& window)
        : m_window(window), m_map(grid, window),
          m_pixelsPerDegree(grid.PixelsPerDegree(window.level)),
          m_spacing(SpacingAt(m_pixelsPerDegree)),
          m_labelStep(LabelStep(m_spacing, m_pixelsPerDegree))
    {
    }

    Pixels Draw() const
    {
        Pixels tile(m_window.edge, m_window.edge);
        DrawCells(tile);
        DrawLabels(tile);
        return tile;
    }

private:
    using Indices = std::vector<std::int64_t>;

    /// Where a pixel lies between lines. Indices grow to the east and to the north.
    struct Cell
    {
        std::int64_t west;  ///< first meridian on or east of the pixel's west edge
        std::int64_t east;  ///< first meridian on or east of its east edge
        std::int64_t north; ///< first parallel on or south of its north edge
        std::int64_t south; ///< first parallel on or south of its south edge
        bool isOnMap;       ///< of the pixel's middle
        bool startsOnMap;   ///< of its north edge: a pole's line is the map's last
    };

    static Colour GroundOf(const Cell& cell)
    {
        if (!cell.isOnMap)
            return kBeyondMap;
        const bool odd = ((cell.east ^ cell.south) & 1) != 0;
        return odd ? Graticule::kOddGround : Graticule::kEvenGround;
    }

    /// Where the datum breaks, two neighbouring places are far apart, and what lies between them is
    /// not in the picture: that is no line.
    static std::optional<Colour> LineOf(const Cell& cell)
    {
        const bool onMeridian = cell.isOnMap && cell.east - cell.west == 1;
        const bool onParallel = cell.startsOnMap && cell.north - cell.south == 1;
        if (onMeridian && onParallel)
            return Graticule::kCrossing;
        if (onMeridian)
            return Graticule::kMeridian;
        if (onParallel)
            return Graticule::kParallel;
        return std::nullopt;
    }

    void DrawCells(Pixels& tile) const
    {
        Indices north;
        Indices south = ParallelsAt(0);
        for (int row = 0; row < m_window.edge; ++row) {
            north.swap(south);
            south = ParallelsAt(row + 1);
            const Indices meridians = MeridiansAt(row + 0.5);
            const bool isOnMap = m_map.HoldsRow(row + 0.5);
            const bool startsOnMap = m_map.HoldsRow(row);
            for (int column = 0; column < m_window.edge; ++column) {
                const auto i = static_cast<std::size_t>(column);
                const Cell cell{meridians[i],
                                meridians[i + 1],
                                north[i],
                                south[i],
                                isOnMap && m_map.HoldsColumn(column),
                                startsOnMap && m_map.HoldsColumn(column)};
                tile.At(column, row) = LineOf(cell).value_or(GroundOf(cell));
            }
        }
    }

    Indices MeridiansAt(double y) const
    {
        std::vector<double> longitudes(static_cast<std::size_t>(m_window.edge) + 1);
        m_map.LongitudesAtEdges(y, longitudes);
        return ToIndices(longitudes, [](double lines) { return std::ceil(lines); });
    }

    Indices ParallelsAt(double y) const
    {
        std::vector<double> latitudes(static_cast<std::size_t>(m_window.edge));
        m_map.LatitudesAtMiddles(y, latitudes);
        return ToIndices(latitudes, [](double lines) { return std::floor(lines); });
    }

    template <typename Round>
    Indices ToIndices(const std::vector<double>& degrees, Round round) const
    {
        Indices indices;
        indices.reserve(degrees.size());
        for (const double value : degrees)
            indices.push_back(static_cast<std::int64_t>(round(m_spacing.Lines(value))));
        return indices;
    }

    void DrawLabels(Pixels& tile) const
    {
        for (const Crossing& crossing : LabelledCrossings())
            DrawLabel(tile, crossing);
    }

    /// Those whose labels may reach into the window.
    std::vector<Crossing> LabelledCrossings() const
    {
        const Place northWest = m_map.ExactPlace(-LongestLabel(), -2.0 * kTextRow);
        const Place southEast = m_map.ExactPlace(m_window.edge, m_window.edge);
        std::vector<Crossing> crossings;
        for (std::int64_t i = LabelIndex(northWest.longitude);
             i <= LabelIndex(southEast.longitude) + 1;
             ++i) {
            for (std::int64_t j = LabelIndex(southEast.latitude);
                 j <= LabelIndex(northWest.latitude) + 1;
                 ++j)
                Collect(i * m_labelStep, j * m_labelStep, crossings);
        }
        return crossings;
    }

    void
    Collect(std::int64_t meridian, std::int64_t parallel, std::vector<Crossing>& crossings) const
    {
        const Place ground{m_spacing.LineDegrees(meridian), m_spacing.LineDegrees(parallel)};
        std::int64_t column = 0;
        std::int64_t row = 0;
        if (m_map.FindPixel(ground, column, row))
            crossings.push_back({meridian, parallel, column - m_window.left, row - m_window.top});
    }

    /// The last labelled line on or before some degrees, in steps of labelled lines.
    std::int64_t LabelIndex(double degrees) const
    {
        return static_cast<std::int64_t>(std::floor(m_spacing.Lines(degrees) / m_labelStep));
    }

    /// Pixels across that a label takes with both its parts on one line.
    int LongestLabel() const { return 2 * WidestLabel(m_spacing) + kGlyphAdvance + kLabelGap; }

    /// Both parts on one line where there is room, else one above the other.
    void DrawLabel(Pixels& tile, const Crossing& crossing) const
    {
        const std::int64_t x = crossing.x + kLabelGap;
        const std::int64_t y = crossing.y + kLabelGap;
        const std::string longitude = LineLabel(m_spacing, crossing.meridian, 'E', 'W');
        const std::string latitude = LineLabel(m_spacing, crossing.parallel, 'N', 'S');
        if (m_pixelsPerDegree * m_spacing.Degrees() * m_labelStep >= LongestLabel()) {
            DrawText(tile, x, y, longitude + " " + latitude);
            return;
        }
        DrawText(tile, x, y, longitude);
        DrawText(tile, x, y + kTextRow, latitude);
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

    /// Labels go below the lines.
    static void DrawDot(Pixels& tile, std::int64_t x, std::int64_t y)
    {
        if (x < 0 || x >= tile.width || y < 0 || y >= tile.height)
            return;
        Colour& pixel = tile.At(static_cast<int>(x), static_cast<int>(y));
        if (pixel == Graticule::kEvenGround || pixel == Graticule::kOddGround)
            pixel = Graticule::kInk;
    }

    PixelWindow m_window;
    WindowMap m_map;
    double m_pixelsPerDegree;
    Spacing m_spacing;
    int m_labelStep;
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

double Spacing::Lines(double degrees) const
{
    return degrees * static_cast<double>(kPowersOfTen[static_cast<std::size_t>(decimals)]) /
           numerator;
}

Spacing SpacingAt(double pixelsPerDegree)
{
    Spacing finest = kSpacings.front();
    for (const Spacing& spacing : kSpacings) {
        if (spacing.Degrees() * pixelsPerDegree < kSmallestCell)
            break;
        finest = spacing;
    }
    return finest;
}

int LabelStep(const Spacing& spacing, double pixelsPerDegree)
{
    const int needed = std::max(WidestLabel(spacing), 2 * kTextRow) + kLabelGap;
    int step = 1;
    while (step * spacing.Degrees() * pixelsPerDegree < needed)
        ++step;
    // The numbers on labels stay round.
    return step <= 2 ? step : 5;
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
    return Plan(grid, window).Draw();
}

} // namespace KxOrigin
