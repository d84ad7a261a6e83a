// SPDX-License-Identifier: MIT
#include "RetrievalFixture.h"

#include <vector>

namespace KxC {
namespace {

using Testing::Bytes;

class LocalCache : public Testing::RetrievalTest
{
};

TEST_F(LocalCache, KnowsNothingAtFirstAndLeavesTheOutputAlone)
{
    KxRawData out;
    out.SetExt(".png");
    auto* bytes = static_cast<unsigned char*>(std::malloc(3));
    out.Attach(bytes, 3);
    const GetchResult result = KxTileFetcher::LoadFromLocalCache("a-key", 1, 2, 3, out);
    EXPECT_NE(result, GetchResult_NoData);
    EXPECT_NE(result, GetchResult_HasData);
    EXPECT_EQ(out.GetData(), bytes);
    EXPECT_EQ(out.GetSize(), 3U);
}

TEST_F(LocalCache, ReturnsAnEqualCopyOfWhatWasSaved)
{
    Bytes bytes = {1, 0, 2, 255};
    KxTileFetcher::SaveToLocalCache("a-key", 1, 2, 3, bytes.data(), 4);
    bytes.assign(4, 9);
    KxRawData out;
    ASSERT_EQ(KxTileFetcher::LoadFromLocalCache("a-key", 1, 2, 3, out), GetchResult_HasData);
    EXPECT_EQ(Bytes(out.GetData(), out.GetData() + out.GetSize()), (Bytes{1, 0, 2, 255}));
}

TEST_F(LocalCache, RemembersThatThereIsNothing)
{
    KxTileFetcher::SaveNoDataInfoToLocalCache("a-key", 1, 2, 3);
    KxRawData out;
    EXPECT_EQ(KxTileFetcher::LoadFromLocalCache("a-key", 1, 2, 3, out), GetchResult_NoData);
    EXPECT_EQ(out.GetData(), nullptr);
}

TEST_F(LocalCache, KeepsSourcesApart)
{
    unsigned char byte = 7;
    KxTileFetcher::SaveToLocalCache("a-key", 1, 2, 3, &byte, 1);
    KxTileFetcher::SaveNoDataInfoToLocalCache("a-key", 1, 2, 4);
    KxRawData out;
    EXPECT_EQ(KxTileFetcher::LoadFromLocalCache("b-key", 1, 2, 3, out), GetchResult_Unknown);
    EXPECT_EQ(KxTileFetcher::LoadFromLocalCache("b-key", 1, 2, 4, out), GetchResult_Unknown);
    EXPECT_EQ(KxTileFetcher::LoadFromLocalCache("a-key", 2, 1, 3, out), GetchResult_Unknown);
}

} // namespace
} // namespace KxC
