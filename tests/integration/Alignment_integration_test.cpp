// SPDX-License-Identifier: MIT
// How well tiles of every grid and datum are aligned, measured through the whole chain: a service
// draws meridians and parallels where such a service shows them, the library makes Web Mercator
// tiles of its tiles, and the lines are looked for in the encoded result.
#include "GraticuleLines.h"
#include "KxImgUtility.h"
#include "KxMath.h"
#include "OriginTest.h"
#include "platform/math/DatumVectors.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

namespace KxC {
namespace {

using KxC::Test::DatumVector;

constexpr double kRadius = 6378137.0;
constexpr double kHalfWorld = std::numbers::pi * kRadius;
constexpr double kDegree = std::numbers::pi / 180.0;
constexpr int kFirstLevel = 5;
constexpr int kLastLevel = 19;

/// A service: its grid, its datum, and how far a line may lie off in its tiles' aligned form.
struct Service
{
    const char* m_path;
    int m_scheme;
    int m_datum;
    int m_southToNorth;
    int m_tileSize;
};

constexpr Service kServices[] = {
    {"/xyz/graticule/{$z}/{$x}/{$y}.png", 10, 0, 0, 256},
    {"/xyz-gcj02/graticule/{$z}/{$x}/{$y}.png", 10, 1, 0, 256},
    {"/xyz-bd09/graticule/{$z}/{$x}/{$y}.png", 10, 2, 0, 256},
    {"/baidu/graticule.png?x={$x}&y={$y}&z={$z}", 4, 2, 1, 256},
    {"/tianditu/graticule/{$z}/{$x}/{$y}.png", 5, 0, 0, 256},
    {"/geographic/graticule/{$z}/{$x}/{$y}.png", 9, 0, 0, 256},
    {"/xyz-512/graticule/{$z}/{$x}/{$y}.png", 10, 0, 0, 512},
};

bool IsBaidu(const Service& service)
{
    return service.m_scheme == 4;
}

/// Pixels of the service's own grid for a degree of longitude.
double PixelsPerDegree(const Service& service, int level)
{
    // The plane has 2^(18 - level) units a pixel, and 111320.7 of them a degree.
    return IsBaidu(service) ? 111320.7 * std::exp2(level - 18)
                            : service.m_tileSize * std::exp2(level) / 360.0;
}

double ToX(double longitude)
{
    return kRadius * longitude * kDegree;
}

double ToY(double latitude)
{
    return kRadius * std::asinh(std::tan(latitude * kDegree));
}

/// One output tile with what is expected in it.
struct Target
{
    int m_level;
    int m_x;
    int m_y;
    int m_size;

    double Span() const { return 2.0 * kHalfWorld / std::exp2(m_level); }
    double MinX() const { return m_x * Span() - kHalfWorld; }
    double MinY() const { return kHalfWorld - (m_y + 1) * Span(); }
};

/// How an operation fills a tile: where its pixels lie, and how far lines may be off in them.
struct Making
{
    decltype(&KxTileFetcher::FetchWMTile3) m_fetch;
    /// Sampled tiles have their first pixel on the west edge and the last one on the east edge;
    /// copied ones are cut into pixels evenly.
    bool m_sampled;

    double Step(const Target& tile) const
    {
        return tile.Span() / (m_sampled ? tile.m_size - 1 : tile.m_size);
    }
    /// The place, in pixels, of what is `metres` from a tile's edge; whole at a pixel's middle.
    double PixelOf(const Target& tile, double metres) const
    {
        return metres / Step(tile) - (m_sampled ? 0.0 : 0.5);
    }
};

constexpr Making kRegridded{&KxTileFetcher::FetchWMTile3, true};
constexpr Making kBlockCopied{&KxTileFetcher::FetchWMTile5, false};

/// How much the datum's shift changes from a tile's south-west corner, where block copies take it,
/// to a place: pixels of the tile's level along one axis.
double ShiftChange(const Service& service, const Target& tile, double x, double y, bool alongX)
{
    const auto shift = [&](double atX, double atY) {
        const double lon = atX / kRadius;
        const double lat = std::atan(std::sinh(atY / kRadius));
        double shiftedLon = 0.0;
        double shiftedLat = 0.0;
        KxMath::GetDeviationCoord(service.m_datum, lon, lat, shiftedLon, shiftedLat);
        return alongX ? kRadius * shiftedLon - atX
                      : kRadius * std::asinh(std::tan(shiftedLat)) - atY;
    };
    const double change = shift(x, y) - shift(tile.MinX(), tile.MinY());
    return std::abs(change) / (tile.Span() / tile.m_size);
}

Target TargetAt(double longitude, double latitude, int level, int size)
{
    const double span = 2.0 * kHalfWorld / std::exp2(level);
    return {level,
            static_cast<int>(std::floor((ToX(longitude) + kHalfWorld) / span)),
            static_cast<int>(std::floor((kHalfWorld - ToY(latitude)) / span)),
            size};
}

/// The border of the area that GCJ-02 shifts: on its two sides neighbouring places are shown up to
/// a kilometre apart, so that lines break off there.
bool IsAtGcjBorder(double longitude, double latitude)
{
    constexpr double kMargin = 0.02;
    const auto near = [](double value, double border) {
        return std::abs(value - border) < kMargin;
    };
    return near(longitude, 72.004) || near(longitude, 137.8347) || near(latitude, 0.8293) ||
           near(latitude, 55.8271);
}

/// One tile to measure.
struct Case
{
    const Service& m_service;
    const Making& m_making;
    Target m_tile;

    /// How far a line may be off, in pixels. Re-gridded tiles: one pixel, of the service's tiles
    /// where these are coarser, since a line lies in the service's pixel that contains it and is
    /// known no better. Block copies: two pixels for what is truncated, a half for the pixel that
    /// the line lies in, and what the shift changes within the tile, since they know one shift
    /// for all of it.
    double Tolerance(Testing::Lines lines, double metres) const
    {
        if (m_making.m_sampled)
            return std::max(1.0, 0.5 + 0.5 * ServicePixel(lines, metres));
        const bool meridian = lines == Testing::Lines::Meridians;
        double change = 0.0;
        for (const double along : {0.0, 0.5, 1.0}) {
            const double x = meridian ? metres : m_tile.MinX() + along * m_tile.Span();
            const double y = meridian ? m_tile.MinY() + along * m_tile.Span() : metres;
            change = std::max(change, ShiftChange(m_service, m_tile, x, y, meridian));
        }
        return 2.5 + change;
    }

private:
    /// Edge of the service's pixel in pixels of the output.
    double ServicePixel(Testing::Lines lines, double metres) const
    {
        const bool plateCarree = m_service.m_scheme == 5 || m_service.m_scheme == 9;
        const double stretch =
            plateCarree && lines == Testing::Lines::Parallels ? std::cosh(metres / kRadius) : 1.0;
        const double outputPerDegree = kRadius * kDegree * stretch / m_making.Step(m_tile);
        return outputPerDegree / PixelsPerDegree(m_service, m_tile.m_level);
    }
};

class Alignment : public Testing::OriginTest
{
protected:
    KxTSDParamItem& SourceOf(const Service& service)
    {
        KxTSDParamItem& source = Source(service.m_path, service.m_scheme, service.m_southToNorth);
        source.m_nDatum = service.m_datum;
        source.m_nTileSize = service.m_tileSize;
        return source;
    }

    static std::unique_ptr<KxImageData>
    Make(const Making& making, KxTSDParamItem& source, const Target& tile)
    {
        KxRawData* bytes = nullptr;
        EXPECT_EQ(making.m_fetch(bytes, &source, tile.m_x, tile.m_y, tile.m_level, tile.m_size, 0),
                  1)
            << KxNetGetch::GetLastRequestInfo().m_strCause.Cstr();
        const std::unique_ptr<KxRawData> owned(bytes);
        return std::unique_ptr<KxImageData>(
            owned == nullptr
                ? nullptr
                : KxImgUtility::LoadImageData(owned->GetData(), owned->GetSize(), "", 1, 1));
    }

    /// Looks for every line of one kind in a tile.
    /// @param spacing  degrees between lines
    void Measure(const KxImageData& image, const Case& at, Testing::Lines lines, double spacing)
    {
        const bool meridians = lines == Testing::Lines::Meridians;
        const double start = meridians ? at.m_tile.MinX() : at.m_tile.MinY();
        const double end = start + at.m_tile.Span();
        const double first =
            meridians ? start / kRadius / kDegree : std::atan(std::sinh(start / kRadius)) / kDegree;
        for (double index = std::ceil(first / spacing);; ++index) {
            const double degrees = index * spacing;
            const double metres = meridians ? ToX(degrees) : ToY(degrees);
            if (!(metres < end))
                return;
            if (!IsAtGcjBorder(meridians ? degrees : 105.0, meridians ? 35.0 : degrees))
                MeasureLine(image, at, lines, metres, degrees);
        }
    }

    void MeasureLine(const KxImageData& image,
                     const Case& at,
                     Testing::Lines lines,
                     double metres,
                     double degrees)
    {
        const bool meridian = lines == Testing::Lines::Meridians;
        const double start = meridian ? at.m_tile.MinX() : at.m_tile.MinY();
        const double expected = at.m_making.PixelOf(at.m_tile, metres - start);
        const double tolerance = at.Tolerance(lines, metres);
        const int reach = static_cast<int>(std::ceil(tolerance)) + 4;
        // A line at the tile's edge is not wholly seen.
        if (expected < reach || expected > at.m_tile.m_size - 1 - reach)
            return;
        const auto found = Testing::FindLine(image, lines, expected, reach);
        if (!found) {
            ++m_lost; // which a line far off its place would be
            return;
        }
        ++m_measured;
        m_worst = std::max(m_worst, std::abs(*found - expected));
        EXPECT_NEAR(*found, expected, tolerance)
            << (meridian ? "meridian " : "parallel ") << degrees << " in " << at.m_tile.m_x << "/"
            << at.m_tile.m_y << "/" << at.m_tile.m_level;
    }

    void
    MeasureAt(const Service& service, const Making& making, const DatumVector& place, int level)
    {
        const Case at{service, making, TargetAt(place.lon, place.lat, level, service.m_tileSize)};
        SCOPED_TRACE(service.m_path);
        const auto image = Make(making, SourceOf(service), at.m_tile);
        ASSERT_NE(image, nullptr) << place.note << " on level " << level;
        ASSERT_EQ(image->GetWidth(), at.m_tile.m_size);
        const double spacing = Testing::LineSpacing(PixelsPerDegree(service, level));
        Measure(*image, at, Testing::Lines::Meridians, spacing);
        Measure(*image, at, Testing::Lines::Parallels, spacing);
    }

    void MeasureAll(const Service& service, const Making& making);

    int m_measured = 0;
    int m_lost = 0;
    double m_worst = 0.0; ///< pixels
};

bool IsFullSweep()
{
    return std::getenv("KXTILE_FULL_SWEEP") != nullptr;
}

/// Whether a service shows the neighbourhood of a place as one piece.
bool Shows(const Service& service, const DatumVector& place)
{
    if (std::abs(place.lat) > 84.0)
        return false;
    // West and south of the plane's origin its columns and rows are negative, and those tiles are
    // not asked for.
    if (IsBaidu(service) && (place.bdLon < 0.0 || place.bdLat < 0.0 || place.bdLat > 73.5))
        return false;
    return service.m_datum == 0 || !IsAtGcjBorder(place.lon, place.lat);
}

std::size_t TurnOf(const Service& service)
{
    std::size_t turn = 0;
    while (std::string(kServices[turn].m_path) != service.m_path)
        ++turn;
    return turn;
}

/// Whether a place is measured with a service on a level: every seventh place, on a level that
/// changes from one to the next, so that all services together meet every place; with
/// $KXTILE_FULL_SWEEP all of them on every level.
bool IsChosen(const Service& service, std::size_t place, int level)
{
    const std::size_t levels = kLastLevel - kFirstLevel + 1;
    return IsFullSweep() ||
           (place % std::size(kServices) == TurnOf(service) &&
            place / std::size(kServices) % levels == static_cast<std::size_t>(level - kFirstLevel));
}

void Alignment::MeasureAll(const Service& service, const Making& making)
{
    const auto& places = KxC::Test::DatumVectors();
    for (std::size_t i = 0; i < places.size(); ++i)
        for (int level = kFirstLevel; level <= kLastLevel; ++level)
            if (IsChosen(service, i, level) && Shows(service, places[i]))
                MeasureAt(service, making, places[i], level);
    EXPECT_GT(m_measured, 150);
    // Only at the border of the area that GCJ-02 shifts does a line break into short pieces.
    EXPECT_LE(m_lost, m_measured / 200);
    std::printf("%d lines, the worst %.2f pixels off, %d not found\n", m_measured, m_worst, m_lost);
}

std::string NameOf(const ::testing::TestParamInfo<Service>& info)
{
    std::string name(info.param.m_path + 1);
    name.resize(name.find("/graticule"));
    name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
    return name;
}

class RegriddedTiles : public Alignment, public ::testing::WithParamInterface<Service>
{
};

TEST_P(RegriddedTiles, LieRightToOnePixel)
{
    MeasureAll(GetParam(), kRegridded);
}

INSTANTIATE_TEST_SUITE_P(Alignment, RegriddedTiles, ::testing::ValuesIn(kServices), NameOf);

class BlockCopiedTiles : public Alignment, public ::testing::WithParamInterface<Service>
{
};

TEST_P(BlockCopiedTiles, LieRightToTwoPixelsAtTheirCorner)
{
    MeasureAll(GetParam(), kBlockCopied);
}

INSTANTIATE_TEST_SUITE_P(Alignment,
                         BlockCopiedTiles,
                         ::testing::Values(kServices[1], kServices[2]),
                         NameOf);

} // namespace
} // namespace KxC
