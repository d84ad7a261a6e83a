// SPDX-License-Identifier: MIT
#include "AnswerStore.h"

#include <gtest/gtest.h>

namespace KxC::EarthTest {
namespace {

using namespace Earth;

SharedPacket PacketOf(int nodes)
{
    QuadPacket packet;
    for (int i = 0; i < nodes; ++i)
        packet.Add(i, {});
    return std::make_shared<const QuadPacket>(std::move(packet));
}

void PutPacket(PacketStore& store, const char* url, int nodes)
{
    const SharedPacket packet = PacketOf(nodes);
    store.Put(url, packet, packet->ByteSize());
}

TEST(PacketStore, TellsAnAbsentPacketFromAnUnknownOne)
{
    PacketStore store(1 << 20);
    store.Put("absent", nullptr, 0);
    ASSERT_TRUE(store.Find("absent"));
    EXPECT_EQ(*store.Find("absent"), nullptr);
    EXPECT_FALSE(store.Find("unknown"));
}

TEST(PacketStore, DropsTheLeastRecentlyUsedBeyondItsBudget)
{
    const std::size_t size = PacketOf(100)->ByteSize();
    PacketStore store(3 * size + size / 2);
    for (const char* url : {"a", "b"})
        PutPacket(store, url, 100);
    EXPECT_TRUE(store.Find("a"));
    PutPacket(store, "c", 100);
    EXPECT_EQ(store.Count(), 3U);
    EXPECT_TRUE(store.Find("a"));
    PutPacket(store, "d", 100);
    EXPECT_EQ(store.Count(), 3U);
    EXPECT_FALSE(store.Find("b"));
    EXPECT_TRUE(store.Find("a"));
    EXPECT_TRUE(store.Find("c"));
    EXPECT_TRUE(store.Find("d"));
}

TEST(PacketStore, CountsUrlsOfAbsentPacketsToo)
{
    PacketStore store(100000);
    for (int i = 0; i < 10000; ++i)
        store.Put(std::string(1000, 'x') + std::to_string(i), nullptr, 0);
    EXPECT_LE(store.Count(), 50U);
    EXPECT_GT(store.Count(), 10U);
}

TEST(PacketStore, LeavesOutWhatIsGreaterThanItsBudget)
{
    PacketStore store(2000);
    store.Put("small", nullptr, 0);
    PutPacket(store, "great", 300);
    EXPECT_TRUE(store.Find("small"));
    EXPECT_FALSE(store.Find("great"));
}

TEST(PacketStore, KeepsAPacketAliveForThoseWhoUseIt)
{
    PacketStore store(1 << 20);
    PutPacket(store, "a", 3);
    const SharedPacket used = *store.Find("a");
    store.Clear();
    EXPECT_EQ(store.Count(), 0U);
    EXPECT_NE(used->Find(SubIndex::Top(true)), nullptr);
}

TEST(RootStore, ForgetsOnDemandAndStaysSmall)
{
    RootStore store;
    store.Put("a", std::make_shared<const DbRoot>());
    EXPECT_NE(store.Find("a"), nullptr);
    for (int i = 0; i < 64; ++i)
        store.Put(std::to_string(i), std::make_shared<const DbRoot>());
    EXPECT_EQ(store.Find("a"), nullptr);
    EXPECT_NE(store.Find("63"), nullptr);
    store.Clear();
    EXPECT_EQ(store.Find("63"), nullptr);
}

} // namespace
} // namespace KxC::EarthTest
