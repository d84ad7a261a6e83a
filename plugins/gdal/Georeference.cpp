// SPDX-License-Identifier: MIT
#include "Georeference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace KxC {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr double kEndless = std::numeric_limits<double>::infinity();

bool IsOnEarth(const KxPoint3d& degrees)
{
    constexpr double kPole = 90 + 1e-9; // rounding; also false for NaN
    return std::abs(degrees.y) <= kPole;
}

} // namespace

std::unique_ptr<Georeference> Georeference::Of(GDALDataset& dataset, const std::string& path)
{
    std::unique_ptr<Georeference> made(new Georeference);
    made->m_plane = ImagePlane::Of(dataset);
    if (made->m_plane == nullptr || !FindCrs(dataset, path, *made->m_plane, made->m_crs))
        return nullptr;
    if (!made->m_crs.m_isWgs84) {
        std::string error;
        made->m_projection = Projection::Make({CrsForm::Wkt, made->m_crs.m_wkt}, error);
        if (made->m_projection == nullptr)
            return nullptr;
    }
    made->m_turn = made->MeasureTurn();
    return made;
}

double Georeference::MeasureTurn() const
{
    if (!m_crs.m_goesRound || !m_plane->IsUpright())
        return kEndless;
    if (m_crs.m_isGeographic)
        return std::abs(360 / m_plane->ColumnStep());
    // Two degrees somewhere; the system's own seam may lie between one such pair.
    double turn = kEndless;
    for (const double longitude : {0.0, 90.0}) {
        std::array<KxPoint3d, 2> points = {KxPoint3d{longitude - 1, 0, 0},
                                           KxPoint3d{longitude + 1, 0, 0}};
        Convert(PJ_INV, points.data(), 2);
        const double width = std::abs((points[1].x - points[0].x) / m_plane->ColumnStep());
        turn = std::min(turn, width * 180);
    }
    return turn > 0 ? turn : kEndless;
}

void Georeference::ToPixels(KxPoint3d* degrees, int count) const
{
    std::for_each(degrees, degrees + count, [](KxPoint3d& point) {
        if (!IsOnEarth(point))
            point = {kNone, kNone, 0};
    });
    Convert(PJ_INV, degrees, count);
    m_plane->ToPixels(degrees, count);
}

void Georeference::ToDegrees(KxPoint3d* pixels, int count) const
{
    m_plane->ToPlane(pixels, count);
    Convert(PJ_FWD, pixels, count);
}

void Georeference::Convert(PJ_DIRECTION direction, KxPoint3d* points, int count) const
{
    if (m_projection == nullptr)
        return;
    constexpr int kAtOnce = 64;
    std::array<KxPoint3d, kAtOnce> results;
    for (int done = 0; done < count; done += kAtOnce) {
        const int part = std::min(kAtOnce, count - done);
        // What does not convert leaves its result as it was.
        std::fill_n(results.begin(), part, KxPoint3d{kNone, kNone, 0});
        m_projection->Convert(direction, points + done, results.data(), part);
        std::copy_n(results.begin(), part, points + done);
    }
}

} // namespace KxC
