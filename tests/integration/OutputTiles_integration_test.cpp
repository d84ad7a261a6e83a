// SPDX-License-Identifier: MIT
#include "KxImgUtility.h"
#include "OriginTest.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>
#include <thread>

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

/// Lines of the graticule are a pixel wide and where the place is: a source that is shifted back
/// wrongly, or not, shows them elsewhere.
TEST_F(OutputTilesOverHttp, TakeTheShiftBackToThePixel)
{
    // Level 15: GCJ-02 moves Beijing by some hundred pixels.
    const Pixels reference = Get(Made(kConventions[0], "graticule"), 26980, 12420, 15, 512);
    const Pixels shifted = Get(Made(kConventions[2], "graticule"), 26980, 12420, 15, 512);
    const Pixels blocks = Get(Made(kConventions[2], "graticule"), 26980, 12420, 15, 256);
    EXPECT_FALSE(blocks.empty());
    KxTSDParamItem& unshifted = Made(kConventions[2], "graticule");
    unshifted.m_nDatum = 0;
    EXPECT_GT(MeanDifference(Get(unshifted, 26980, 12420, 15, 512), reference),
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

    void ExpectEachTileAskedOnce() const
    {
        std::multiset<std::string> paths;
        for (const nlohmann::json& request : m_origin.Requests())
            paths.insert(request["path"].get<std::string>());
        for (const std::string& path : paths)
            EXPECT_EQ(paths.count(path), 1U) << path;
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
    ExpectEachTileAskedOnce();
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
    ExpectEachTileAskedOnce();
    for (std::size_t i = 0; i < tiles.size(); ++i)
        EXPECT_EQ(tiles[i], Get(*sources[i], 201, 104, 8, 384)) << i;
}

} // namespace
} // namespace KxC
