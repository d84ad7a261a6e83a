// SPDX-License-Identifier: MIT
#include "EarthBounds.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace KxC {

namespace {

/// From -180 to below 180.
double Wrapped(double longitude)
{
    return longitude - 360 * std::floor((longitude + 180) / 360);
}

/// The longitude that is `degrees` or whole turns away, nearest to `beside`.
double Beside(double degrees, double beside)
{
    return std::isnan(beside) ? degrees : beside + Wrapped(degrees - beside);
}

/// Grows by places whose longitude was made continuous.
class Grower
{
public:
    void Take(const KxPoint3d& place)
    {
        if (!std::isfinite(place.x) || !std::isfinite(place.y))
            return;
        m_west = std::min(m_west, place.x);
        m_east = std::max(m_east, place.x);
        m_south = std::min(m_south, place.y);
        m_north = std::max(m_north, place.y);
    }
    void TakePole(double latitude)
    {
        m_west = -180;
        m_east = 180;
        m_south = std::min(m_south, latitude);
        m_north = std::max(m_north, latitude);
    }
    bool IsEmpty() const { return !(m_west <= m_east) || !(m_south <= m_north); }
    EarthBounds Bounds() const
    {
        constexpr double kRounding = 1e-9; // degrees; edges on the antimeridian do not cross it
        const double turns = 360 * std::floor((m_west + 180 + kRounding) / 360);
        const double west = std::max(m_west - turns, -180.0);
        const double east = m_east - turns;
        const bool isAcross = east > 180 + kRounding;
        const bool isRound = east - west >= 360 - kRounding;
        EarthBounds bounds;
        bounds.m_rect = {isAcross ? -180 : west,
                         std::clamp(m_north, -90.0, 90.0),
                         isAcross ? 180 : std::min(east, 180.0),
                         std::clamp(m_south, -90.0, 90.0)};
        bounds.m_west = isRound ? -180 : west;
        bounds.m_east = isRound ? 180 : isAcross ? east - 360 : std::min(east, 180.0);
        return bounds;
    }

private:
    static constexpr double kEndless = std::numeric_limits<double>::infinity();

    double m_west = kEndless;
    double m_east = -kEndless;
    double m_south = kEndless;
    double m_north = -kEndless;
};

/// A net of places over a raster, with longitudes that are continuous over it.
class PlaceNet
{
public:
    PlaceNet(const Georeference& georeference, double width, double height);

    const std::vector<KxPoint3d>& Places() const { return m_places; }
    /// The places between two neighbours on the raster's edge, which bends.
    void WalkEdges(Grower& grower) const;

private:
    static constexpr int kCells = 32;
    static constexpr int kSteps = 16; ///< of an edge, in a cell

    static std::size_t At(int row, int column)
    {
        return static_cast<std::size_t>(row) * (kCells + 1) + static_cast<std::size_t>(column);
    }
    void Join();
    void WalkEdge(int row, int column, int down, int right, Grower& grower) const;

    const Georeference& m_georeference;
    double m_columnStep;
    double m_rowStep;
    std::vector<KxPoint3d> m_places;
};

PlaceNet::PlaceNet(const Georeference& georeference, double width, double height)
    : m_georeference(georeference), m_columnStep(width / kCells), m_rowStep(height / kCells)
{
    for (int row = 0; row <= kCells; ++row)
        for (int column = 0; column <= kCells; ++column)
            m_places.push_back({column * m_columnStep, row * m_rowStep, 0});
    georeference.ToDegrees(m_places.data(), static_cast<int>(m_places.size()));
    Join();
}

/// Outward from the middle: down and up its column, and from there along the rows.
void PlaceNet::Join()
{
    constexpr int kMiddle = kCells / 2;
    const auto join = [this](int row, int column, double& last) {
        KxPoint3d& place = m_places[At(row, column)];
        place.x = Beside(place.x, last);
        if (!std::isnan(place.x))
            last = place.x;
    };
    const double middle = m_places[At(kMiddle, kMiddle)].x;
    double last = middle;
    for (int row = kMiddle; row <= kCells; ++row)
        join(row, kMiddle, last);
    last = middle;
    for (int row = kMiddle; row >= 0; --row)
        join(row, kMiddle, last);
    for (int row = 0; row <= kCells; ++row) {
        last = m_places[At(row, kMiddle)].x;
        for (int column = kMiddle + 1; column <= kCells; ++column)
            join(row, column, last);
        last = m_places[At(row, kMiddle)].x;
        for (int column = kMiddle - 1; column >= 0; --column)
            join(row, column, last);
    }
}

void PlaceNet::WalkEdges(Grower& grower) const
{
    for (int i = 0; i < kCells; ++i) {
        WalkEdge(0, i, 0, 1, grower);
        WalkEdge(kCells, i, 0, 1, grower);
        WalkEdge(i, 0, 1, 0, grower);
        WalkEdge(i, kCells, 1, 0, grower);
    }
}

void PlaceNet::WalkEdge(int row, int column, int down, int right, Grower& grower) const
{
    std::array<KxPoint3d, kSteps> places;
    for (int i = 0; i < kSteps; ++i) {
        const double share = static_cast<double>(i) / kSteps;
        places[static_cast<std::size_t>(i)] = {
            (column + right * share) * m_columnStep, (row + down * share) * m_rowStep, 0};
    }
    m_georeference.ToDegrees(places.data(), kSteps);
    double last = m_places[At(row, column)].x;
    for (KxPoint3d& place : places) {
        place.x = Beside(place.x, last);
        if (!std::isnan(place.x))
            last = place.x;
        grower.Take(place);
    }
}

bool HoldsPole(const Georeference& georeference, double latitude, int width, int height)
{
    KxPoint3d pole = {0, latitude, 0};
    georeference.ToPixels(&pole, 1);
    return pole.x >= 0 && pole.x <= width && pole.y >= 0 && pole.y <= height;
}

/// The shorter half axis of the ellipse into which a step of one pixel in any direction leads.
double ShortestStep(const KxPoint3d& toRight, const KxPoint3d& down)
{
    const double squares =
        toRight.x * toRight.x + toRight.y * toRight.y + down.x * down.x + down.y * down.y;
    const double area = std::abs(toRight.x * down.y - toRight.y * down.x);
    const double spread = std::sqrt(std::max(0.0, squares * squares - 4 * area * area));
    // Not from the difference of both, which loses the digits of narrow ellipses.
    return area > 0 ? area / std::sqrt((squares + spread) / 2) : 0;
}

double PixelDegreesAt(const Georeference& georeference, double x, double y)
{
    std::array<KxPoint3d, 3> places = {
        KxPoint3d{x, y, 0}, KxPoint3d{x + 1, y, 0}, KxPoint3d{x, y + 1, 0}};
    georeference.ToDegrees(places.data(), 3);
    const auto step = [&places](std::size_t i) {
        return KxPoint3d{Wrapped(places[i].x - places[0].x), places[i].y - places[0].y, 0};
    };
    const double shortest = ShortestStep(step(1), step(2));
    return std::isfinite(shortest) ? shortest : 0;
}

} // namespace

bool FindEarthBounds(const Georeference& georeference, int width, int height, EarthBounds& bounds)
{
    const PlaceNet net(georeference, width, height);
    Grower grower;
    for (const KxPoint3d& place : net.Places())
        grower.Take(place);
    net.WalkEdges(grower);
    for (const double latitude : {-90.0, 90.0}) {
        // In degrees the pole is an edge like others.
        if (!georeference.IsGeographic() && HoldsPole(georeference, latitude, width, height))
            grower.TakePole(latitude);
    }
    if (grower.IsEmpty())
        return false;
    bounds = grower.Bounds();
    const KxRect2d& rect = bounds.m_rect;
    return rect.m_dLeft < rect.m_dRight && rect.m_dBottom < rect.m_dTop;
}

double FindPixelDegrees(const Georeference& georeference, int width, int height)
{
    // The middle may lie where nothing is: behind the horizon, on a pole.
    for (const double share : {0.5, 0.25, 0.75, 0.1, 0.9}) {
        const double size = PixelDegreesAt(georeference, width * share, height * share);
        if (size > 0)
            return size;
    }
    return 0;
}

} // namespace KxC
