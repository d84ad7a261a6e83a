// SPDX-License-Identifier: MIT
#include "GraticuleLines.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace KxC::Testing {

namespace {

/// How much of a line's colour a pixel has, beyond what softened ground and labels have.
double LineColour(const unsigned char* pixel, Lines lines)
{
    const int difference = lines == Lines::Meridians ? pixel[0] - pixel[1] : pixel[2] - pixel[0];
    return std::max(0, difference - 70);
}

/// A picture looked at along rows or along columns.
class Strips
{
public:
    Strips(const KxImageData& image, Lines lines) : m_image(image), m_lines(lines) {}

    int Count() const { return Across() ? m_image.GetHeight() : m_image.GetWidth(); }
    int Length() const { return Across() ? m_image.GetWidth() : m_image.GetHeight(); }

    double Colour(int strip, int position) const
    {
        const int row = Across() ? strip : position;
        const int column = Across() ? position : strip;
        return LineColour(m_image.GetData() +
                              static_cast<std::ptrdiff_t>(row) * m_image.GetRowBytes() +
                              static_cast<std::ptrdiff_t>(column) * m_image.GetPixelSize(),
                          m_lines);
    }

private:
    bool Across() const { return m_lines == Lines::Meridians; }

    const KxImageData& m_image;
    Lines m_lines;
};

/// The middle of the line's colour in one strip.
std::optional<double> MiddleIn(const Strips& strips, int strip, double expected, int reach)
{
    const int from = std::max(0, static_cast<int>(std::lround(expected)) - reach);
    const int to = std::min(strips.Length() - 1, static_cast<int>(std::lround(expected)) + reach);
    double weight = 0.0;
    double moment = 0.0;
    for (int position = from; position <= to; ++position) {
        const double colour = strips.Colour(strip, position);
        weight += colour;
        moment += colour * position;
    }
    if (weight <= 0.0)
        return std::nullopt;
    return moment / weight;
}

} // namespace

std::optional<double> FindLine(const KxImageData& image, Lines lines, double expected, int reach)
{
    const Strips strips(image, lines);
    std::vector<double> middles;
    for (int strip = 0; strip < strips.Count(); ++strip)
        if (const auto middle = MiddleIn(strips, strip, expected, reach))
            middles.push_back(*middle);
    if (middles.size() * 3 < static_cast<std::size_t>(strips.Count()))
        return std::nullopt;
    const auto median = middles.begin() + static_cast<std::ptrdiff_t>(middles.size() / 2);
    std::nth_element(middles.begin(), median, middles.end());
    return *median;
}

double LineSpacing(double pixelsPerDegree)
{
    std::vector<double> spacings{90, 45, 30, 15, 10, 5, 2, 1};
    for (int decimals = 1; decimals <= 6; ++decimals)
        for (const int numerator : {5, 2, 1})
            spacings.push_back(numerator / std::pow(10.0, decimals));
    double finest = spacings.front();
    for (const double spacing : spacings)
        if (spacing * pixelsPerDegree >= 24.0)
            finest = spacing;
    return finest;
}

} // namespace KxC::Testing
