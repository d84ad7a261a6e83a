// SPDX-License-Identifier: MIT
#include "KxImgUtility.h"
#include "OriginTest.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <numbers>
#include <set>
#include <thread>
#include <utility>

namespace KxC {
namespace {

using Testing::Pixels;

/// One way in which the service publishes its pictures.
struct Convention
{
    const char* m_path;
    int m_scheme;
    int m_datum;
    int m_tileSize;
};

constexpr Convention kConventions[] = {
    {"/xyz/{P}/{$z}/{$x}/{$y}.png", 10, 0, 256},
    {"/xyz-512/{P}/{$z}/{$x}/{$y}.png", 10, 0, 512},
    {"/xyz-gcj02/{P}/{$z}/{$x}/{$y}.png", 10, 1, 256},
    {"/xyz-bd09/{P}/{$z}/{$x}/{$y}.png", 10, 2, 256},
    {"/geographic/{P}/{$z}/{$x}/{$y}.png", 9, 0, 256},
    {"/geographic-512/{P}/{$z}/{$x}/{$y}.png", 9, 0, 512},
    {"/tianditu/{P}/{$z}/{$x}/{$y}.png", 5, 0, 256},
};

class OutputTilesOverHttp : public Testing::OriginTest
{
protected:
    KxTSDParamItem& Made(const Convention& convention, std::string picture)
    {
        std::string path = convention.m_path;
        path.replace(path.find("{P}"), 3, picture);
        return Configured(Source(path, convention.m_scheme), convention);
    }
    KxTSDParamItem& Baidu(const std::string& picture)
    {
        const Convention convention{"", 4, 2, 256};
        return Configured(Source("/baidu/" + picture + ".png?x={$x}&y={$y}&z={$z}", 4, 1),
                          convention);
    }

    static KxTSDParamItem& Configured(KxTSDParamItem& source, const Convention& convention)
    {
        source.m_nDatum = convention.m_datum;
        source.m_nTileSize = convention.m_tileSize;
        return source;
    }

    /// Pixels of an output tile, R, G, B rows from the south; the test fails where there is none.
    static Pixels Get(KxTSDParamItem& source, int x, int y, int z, int tileSize)
    {
        KxRawData* out = nullptr;
        EXPECT_EQ(KxTileFetcher::FetchWMTileByParam(out, &source, x, y, z, tileSize, 0), 1)
            << KxNetGetch::GetLastRequestInfo().m_strCause.Cstr();
        const std::unique_ptr<KxRawData> tile(out);
        if (tile == nullptr || tile->GetSize() == 0)
            return {};
        const std::unique_ptr<KxImageData> image(
            KxImgUtility::LoadImageData(tile->GetData(), tile->GetSize(), tile->GetExt(), 1, 1));
        return Testing::PixelsOf(image.get());
    }

    static double MeanDifference(const Pixels& a, const Pixels& b)
    {
        if (a.size() != b.size() || a.empty())
            return 255;
        double sum = 0;
        for (std::size_t i = 0; i < a.size(); ++i)
            sum += std::abs(a[i] - b[i]);
        return sum / static_cast<double>(a.size());
    }
};

/// A tile in Sichuan, level 9, and its neighbour half a tile off would differ by far more than
/// sampling and JPEG do: some 20 on this picture.
TEST_F(OutputTilesOverHttp, ShowTheSamePlaceFromEverySource)
{
    const Pixels reference = Get(Made(kConventions[0], "marble"), 201, 104, 8, 256);
    ASSERT_EQ(reference.size(), 256U * 256U * 3U);
    const double elsewhere =
        MeanDifference(Get(Made(kConventions[0], "marble"), 202, 104, 8, 256), reference);
    for (const Convention& convention : kConventions)
        EXPECT_LT(MeanDifference(Get(Made(convention, "marble"), 201, 104, 8, 256), reference),
                  elsewhere / 6)
            << convention.m_path;
    EXPECT_LT(MeanDifference(Get(Baidu("marble"), 201, 104, 8, 256), reference), elsewhere / 6)
        << "Baidu";
}

TEST_F(OutputTilesOverHttp, HaveTheSizeThatIsAskedFor)
{
    for (const int size : {100, 256, 400, 512})
        for (const Convention& convention : kConventions) {
            const auto side = static_cast<std::size_t>(size);
            EXPECT_EQ(Get(Made(convention, "graticule"), 3, 1, 2, size).size(), side * side * 3)
                << convention.m_path << " " << size;
        }
}

/// How many columns and rows of pixels a picture is moved.
struct Move
{
    int m_east;
    int m_north;
};

/// The mean difference of two square pictures of one size when `a` is moved; a frame that the
/// move may leave empty does not count.
double DifferenceMoved(const Pixels& a, const Pixels& b, int side, const Move& move)
{
    constexpr int kFrame = 4;
    const auto at = [side](int row, int column) {
        return 3 * (static_cast<std::size_t>(row) * static_cast<std::size_t>(side) +
                    static_cast<std::size_t>(column));
    };
    double sum = 0;
    for (int row = kFrame; row < side - kFrame; ++row)
        for (int column = kFrame; column < side - kFrame; ++column)
            for (std::size_t band = 0; band < 3; ++band)
                sum += std::abs(a[at(row - move.m_north, column - move.m_east) + band] -
                                b[at(row, column) + band]);
    const double counted = side - 2 * kFrame;
    return sum / (3 * counted * counted);
}

/// Every move by a pixel or two must fit worse than none does, by the factor.
void ExpectInPlace(const Pixels& a, const Pixels& b, int side, double factor)
{
    const auto size = 3 * static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    ASSERT_EQ(a.size(), size);
    ASSERT_EQ(b.size(), size);
    const double inPlace = DifferenceMoved(a, b, side, {0, 0});
    for (int east = -2; east <= 2; ++east)
        for (int north = -2; north <= 2; ++north)
            if (east != 0 || north != 0) {
                EXPECT_GT(DifferenceMoved(a, b, side, {east, north}), factor * inPlace)
                    << "east " << east << ", north " << north;
            }
}

/// An output tile near Beijing, at a level where GCJ-02 moves it by a hundred pixels.
constexpr int kShiftedX = 26980;
constexpr int kShiftedY = 12420;
constexpr int kShiftedLevel = 15;

class ShiftedOutputTiles : public OutputTilesOverHttp
{
protected:
    static Pixels GetShifted(KxTSDParamItem& source, int size)
    {
        return Get(source, kShiftedX, kShiftedY, kShiftedLevel, size);
    }

    /// The output tile as it is defined: each pixel by its place in the decoded source tiles, the
    /// first on the west or south edge and the last just inside the other.
    static Pixels Defined(KxTSDParamItem& source, int size, int sourceLevel)
    {
        constexpr double kHalfWorld = std::numbers::pi * 6378137.0;
        const double span = 2 * kHalfWorld / std::exp2(kShiftedLevel);
        const double step = span / (size - 1);
        const auto offset = [&](int i) { return i == size - 1 ? span - step / 10000 : i * step; };
        std::map<std::pair<int, int>, Pixels> tiles;
        Pixels pixels;
        for (int row = 0; row < size; ++row)
            for (int column = 0; column < size; ++column) {
                double tileCol = 0;
                double tileRow = 0;
                KxTileFetcher::GetColRow(tileCol,
                                         tileRow,
                                         source.m_nTileScheme,
                                         kShiftedX * span - kHalfWorld + offset(column),
                                         kHalfWorld - (kShiftedY + 1) * span + offset(row),
                                         sourceLevel,
                                         source.m_nDatum);
                const std::pair index(static_cast<int>(tileRow), static_cast<int>(tileCol));
                if (!tiles.contains(index))
                    tiles[index] = Fetch(source, sourceLevel, index.first, index.second);
                AddPixel(pixels, tiles[index], tileRow - index.first, tileCol - index.second);
            }
        return pixels;
    }

private:
    /// The pixel of a tile of 256 pixels at a place inside it, [0, 1).
    static void AddPixel(Pixels& to, const Pixels& tile, double up, double across)
    {
        const std::size_t pixelSize = tile.size() / 256 / 256;
        const auto at =
            (static_cast<std::size_t>(up * 256) * 256 + static_cast<std::size_t>(across * 256)) *
            pixelSize;
        for (std::size_t band = 0; band < 3; ++band)
            to.push_back(at + band < tile.size() ? tile[at + band] : 0);
    }
};

/// What JPEG does to lines that are a pixel wide is less than half of what a move by one does.
TEST_F(ShiftedOutputTiles, TakeTheShiftBackToThePixel)
{
    for (const std::size_t convention : {2U, 3U}) {
        KxTSDParamItem& source = Made(kConventions[convention], "graticule");
        ExpectInPlace(GetShifted(source, 512), Defined(source, 512, 16), 512, 2);
    }
}

/// A source that is shifted back wrongly, or not, shows its lines elsewhere.
TEST_F(ShiftedOutputTiles, ShowThePlaceOfASourceWithoutShift)
{
    const Pixels reference = GetShifted(Made(kConventions[0], "graticule"), 512);
    const Pixels shifted = GetShifted(Made(kConventions[2], "graticule"), 512);
    EXPECT_FALSE(GetShifted(Made(kConventions[2], "graticule"), 256).empty());
    KxTSDParamItem& unshifted = Made(kConventions[2], "graticule");
    unshifted.m_nDatum = 0;
    EXPECT_GT(MeanDifference(GetShifted(unshifted, 512), reference),
              2 * MeanDifference(shifted, reference));
}

TEST_F(OutputTilesOverHttp, AskOncePerSourceTile)
{
    KxTSDParamItem& source = Made(kConventions[4], "marble");
    const Pixels first = Get(source, 6, 2, 3, 256);
    const std::size_t requests = m_origin.Requests().size();
    EXPECT_EQ(Get(source, 6, 2, 3, 256), first);
    EXPECT_EQ(m_origin.Requests().size(), requests) << "from memory";
}

class ManyThreads : public OutputTilesOverHttp
{
protected:
    ManyThreads() { KxTileFetcher::m_sbLocalCacheUsed = 1; }
    ~ManyThreads() override { KxTileFetcher::m_sbLocalCacheUsed = 0; }

    template <class Work>
    static void OnEightThreads(Work work)
    {
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 8; ++thread)
            threads.emplace_back([&work, thread] { work(thread); });
        for (std::thread& thread : threads)
            thread.join();
    }

    /// @return how often a tile was asked for that had been asked for before
    std::size_t RepeatedRequests(std::size_t& tiles) const
    {
        std::set<std::string> paths;
        const auto requests = m_origin.Requests();
        for (const nlohmann::json& request : requests)
            paths.insert(request["path"].get<std::string>());
        tiles = paths.size();
        return requests.size() - tiles;
    }
};

TEST_F(ManyThreads, ShareOneSource)
{
    KxTSDParamItem& source = Made(kConventions[3], "graticule");
    std::vector<Pixels> tiles(8);
    OnEightThreads([&](int thread) {
        for (int z = 3; z < 6; ++z)
            tiles[static_cast<std::size_t>(thread)] =
                Get(source, 3 << (z - 2), 1 << (z - 2), z, 300);
    });
    std::size_t asked = 0;
    EXPECT_EQ(RepeatedRequests(asked), 0U);
    EXPECT_GT(asked, 8U);
    EXPECT_FALSE(tiles[0].empty());
    for (const Pixels& tile : tiles)
        EXPECT_EQ(tile, tiles[0]);
}

TEST_F(ManyThreads, WorkOnEightSources)
{
    std::vector<KxTSDParamItem*> sources;
    for (const Convention& convention : kConventions)
        sources.push_back(&Made(convention, "marble"));
    sources.push_back(&Baidu("marble"));
    std::vector<Pixels> tiles(8);
    OnEightThreads([&](int thread) {
        const auto i = static_cast<std::size_t>(thread);
        tiles[i] = Get(*sources[i], 201, 104, 8, 384);
    });
    std::size_t asked = 0;
    EXPECT_EQ(RepeatedRequests(asked), 0U) << "each source has one thread";
    EXPECT_GT(asked, 8U);
    for (std::size_t i = 0; i < tiles.size(); ++i)
        EXPECT_EQ(tiles[i], Get(*sources[i], 201, 104, 8, 384)) << i;
}

} // namespace
} // namespace KxC
