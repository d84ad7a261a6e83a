// SPDX-License-Identifier: MIT
#include "QuadPacket.h"

#include "EarthErrors.h"
#include "FuzzEntry.h"
#include "View.h"

#include <gtest/gtest.h>

#include <random>

namespace KxC::EarthTest {
namespace {

using Earth::DamagedAnswer;
using Earth::QuadNode;
using Earth::QuadPacket;
using Earth::SubIndex;

QuadPacket Read(const std::string& bytes, bool isRootPacket = true)
{
    return Earth::ReadQuadPacket(View(bytes), isRootPacket);
}

const QuadNode* At(const QuadPacket& packet, const char* digits)
{
    return packet.Find(SubIndex::Of(TileOf(digits)));
}

TEST(ReadBinaryPacket, ReadsThePublishedRoot)
{
    const QuadPacket packet = Read(FromHex(kSampleBinaryRoot));
    for (const auto& [digits, version] :
         {std::pair{"", 1U}, {"0", 3U}, {"2", 4U}, {"21", 5U}, {"213", 6U}}) {
        ASSERT_NE(At(packet, digits), nullptr) << digits;
        EXPECT_TRUE(At(packet, digits)->m_hasImage);
        EXPECT_EQ(At(packet, digits)->m_imageVersion, version);
        EXPECT_FALSE(At(packet, digits)->m_hasHistory);
    }
    for (const char* digits : {"1", "3", "20", "22", "212", "000"})
        EXPECT_EQ(At(packet, digits), nullptr) << digits;
    EXPECT_FALSE(At(packet, "21")->m_hasPacket);
    EXPECT_TRUE(At(packet, "213")->m_hasPacket);
    EXPECT_EQ(At(packet, "213")->m_packetVersion, 42U);
}

TEST(ReadBinaryPacket, ReadsThePublishedPacketBelow)
{
    const QuadPacket packet = Read(FromHex(kSampleBinaryDeeper), false);
    ASSERT_NE(At(packet, "2130"), nullptr);
    EXPECT_EQ(At(packet, "2130")->m_imageVersion, 8U);
    ASSERT_NE(At(packet, "21302"), nullptr);
    EXPECT_EQ(At(packet, "21302")->m_imageVersion, 9U);
    EXPECT_EQ(At(packet, "2131"), nullptr);
    ASSERT_NE(packet.Find(SubIndex::Top(false)), nullptr);
    EXPECT_FALSE(packet.Find(SubIndex::Top(false))->m_hasImage);
}

TEST(ReadBinaryPacket, DoesNotLookForChildrenOfTheLowestLevel)
{
    // A chain of first children; the last one's child bits belong to a packet of its own.
    EXPECT_NO_THROW(Read(BinaryPacket({{1}, {1}, {1}, {0x4F}})));
    EXPECT_NO_THROW(Read(BinaryPacket({{1}, {1}, {1}, {1}, {0x4F}}), false));
    EXPECT_NO_THROW(Read(BinaryPacket({{0x1F}})));
}

TEST(ReadBinaryPacket, RefusesFewerInstancesThanPromised)
{
    EXPECT_THROW(Read(BinaryPacket({})), DamagedAnswer);
    EXPECT_THROW(Read(BinaryPacket({{1}})), DamagedAnswer);
    EXPECT_THROW(Read(BinaryPacket({{0xF}, {0}, {0}, {0}})), DamagedAnswer);
}

TEST(ReadBinaryPacket, RefusesMoreInstancesThanNodes)
{
    EXPECT_NO_THROW(Read(BinaryPacket(std::vector<Instance>(341)), false));
    EXPECT_THROW(Read(BinaryPacket(std::vector<Instance>(342)), false), DamagedAnswer);
    EXPECT_THROW(Read(BinaryPacket(std::vector<Instance>(100000, {1}))), DamagedAnswer);
}

TEST(ReadBinaryPacket, RefusesHeadersThatDoNotAgreeWithTheLength)
{
    const std::string sample = FromHex(kSampleBinaryRoot);
    for (std::size_t at = 4; at < 32; at += 4)
        for (const std::uint32_t value : {7U, 33U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            std::string changed = sample;
            changed.replace(at, 4, LittleEndian(value, 4));
            EXPECT_THROW(Read(changed), DamagedAnswer) << at << " " << value;
        }
    // A count whose instances would wrap around 32 bits to the same length.
    std::string wrapped = sample;
    wrapped.replace(12, 4, LittleEndian(0x08000005, 4));
    EXPECT_THROW(Read(wrapped), DamagedAnswer);
}

TEST(ReadBinaryPacket, RefusesWhatIsCutOffAnywhere)
{
    const std::string whole = FromHex(kSampleBinaryRoot);
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_THROW(Earth::ReadBinaryPacket(View(whole.substr(0, size)), true), DamagedAnswer)
            << size;
    EXPECT_THROW(Read(whole + "x"), DamagedAnswer);
}

TEST(ReadProtobufPacket, ReadsThePublishedRoot)
{
    const QuadPacket packet = Read(FromHex(kSampleProtobufRoot));
    ASSERT_NE(At(packet, ""), nullptr);
    EXPECT_FALSE(At(packet, "")->m_hasImage);
    const QuadNode* const node = At(packet, "2");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->m_imageVersion, 4U);
    EXPECT_TRUE(node->m_hasHistory);
    ASSERT_EQ(node->m_dated.size(), 3U) << "the undated entry does not count";
    EXPECT_EQ(node->m_dated[0].m_date, 1036703U);
    EXPECT_EQ(node->m_dated[0].m_version, 361U);
    EXPECT_EQ(node->m_dated[0].m_provider, 9U);
    EXPECT_EQ(node->m_dated[1].m_date, 1034287U);
    EXPECT_EQ(node->m_dated[1].m_version, 273U);
    EXPECT_EQ(node->m_dated[1].m_provider, 0U);
    EXPECT_EQ(node->m_dated[2].m_date, 1028247U);
    EXPECT_EQ(node->m_dated[2].m_version, 10U);
    EXPECT_EQ(node->m_dated[2].m_provider, 7U);
    ASSERT_NE(At(packet, "21"), nullptr);
    EXPECT_FALSE(At(packet, "21")->m_hasHistory);
    EXPECT_EQ(At(packet, "21")->m_imageVersion, 5U);
    ASSERT_NE(At(packet, "213"), nullptr);
    EXPECT_TRUE(At(packet, "213")->m_hasPacket);
    EXPECT_EQ(At(packet, "213")->m_packetVersion, 42U);
    EXPECT_EQ(At(packet, "0"), nullptr);
}

TEST(ReadProtobufPacket, ReadsThePublishedPacketBelow)
{
    const QuadPacket packet = Read(FromHex(kSampleProtobufDeeper), false);
    ASSERT_NE(At(packet, "2130"), nullptr);
    ASSERT_EQ(At(packet, "2130")->m_dated.size(), 1U);
    EXPECT_EQ(At(packet, "2130")->m_dated[0].m_date, Earth::KeyOfDate({2012, 12, 31}));
    EXPECT_EQ(At(packet, "2130")->m_dated[0].m_version, 115U);
    ASSERT_NE(At(packet, "21302"), nullptr);
    EXPECT_EQ(At(packet, "21302")->m_imageVersion, 9U);
}

/// One node, number 0, of these fields.
QuadNode ReadNode(const std::string& fields)
{
    return *Read(Group(2, Number(3, 0) + Text(4, fields))).Find(SubIndex::Top(true));
}

TEST(ReadProtobufPacket, KnowsAPacketBelowByFlagOrVersion)
{
    EXPECT_FALSE(ReadNode(Number(1, 0x4F)).m_hasPacket);
    EXPECT_TRUE(ReadNode(Number(1, 0x10)).m_hasPacket);
    EXPECT_TRUE(ReadNode(Number(2, 9)).m_hasPacket);
    EXPECT_TRUE(ReadNode(Number(1, 0x10) + Number(2, 0)).m_hasPacket);
    EXPECT_FALSE(ReadNode(Number(2, ~0ULL)).m_hasPacket) << "a negative version is none";
}

TEST(ReadProtobufPacket, TakesCoarseDatesPackedAndNot)
{
    const std::uint32_t first = 1027483;
    const std::uint32_t second = 1028247;
    const std::string packed =
        Text(3, Number(1, 3) + Text(4, Text(3, Varint(first) + Varint(second))));
    const std::string single =
        Text(3, Number(1, 3) + Text(4, Number(3, first) + Number(3, second) + Number(3, 545)));
    EXPECT_EQ(ReadNode(packed).m_coarseDates, (std::vector<Earth::DateKey>{first, second}));
    EXPECT_EQ(ReadNode(single).m_coarseDates, (std::vector<Earth::DateKey>{first, second}));
}

TEST(ReadProtobufPacket, IgnoresFieldsThatItDoesNotKnow)
{
    EXPECT_NO_THROW(ReadNode(Group(9, Number(1, 1)) + Text(4, Number(1, 130) + Number(2, 11)) +
                             Text(3, Number(1, 1) + Number(2, 2))));
    EXPECT_EQ(ReadNode(Text(1, "flags of another kind")).m_hasPacket, false);
}

TEST(ReadProtobufPacket, RefusesNodesOutsideThePacketOrTwice)
{
    for (const std::uint64_t index : {341ULL, 1ULL << 31, 0xFFFFFFFFULL, ~0ULL})
        EXPECT_THROW(Read(Group(2, Number(3, index))), DamagedAnswer) << index;
    EXPECT_NO_THROW(Read(Group(2, Number(3, 340))));
    EXPECT_THROW(Read(Group(2, Number(3, 7)) + Group(2, Number(3, 7))), DamagedAnswer);
}

TEST(ReadProtobufPacket, RefusesWhatIsCutOffInsideAField)
{
    const std::string whole = FromHex(kSampleProtobufRoot);
    // Between two nodes a shorter packet is a packet.
    const std::vector<std::size_t> ends{0, 3, 11, 80, 96};
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::string cut = whole.substr(0, size);
        if (std::find(ends.begin(), ends.end(), size) == ends.end())
            EXPECT_THROW(Read(cut), DamagedAnswer) << size;
        else
            EXPECT_NO_THROW(Read(cut)) << size;
    }
}

TEST(ReadEverything, SurvivesChangedSamples)
{
    std::mt19937 random(20261121); // NOLINT(cert-msc51-cpp): replayable
    int read = 0;
    for (const char* sample : {kSampleRootPlain,
                               kSampleRootWire,
                               kSampleBinaryRoot,
                               kSampleBinaryDeeper,
                               kSampleProtobufRoot,
                               kSampleProtobufDeeper,
                               kSampleWrappedImage}) {
        const std::string bytes = FromHex(sample);
        read += Earth::ReadEverything(View(bytes).data(), bytes.size());
        for (int round = 0; round < 4000; ++round) {
            std::string changed = bytes;
            for (unsigned change = random() % 4; change < 4; ++change)
                changed[random() % changed.size()] = static_cast<char>(random());
            changed.resize(round % 4 == 0 ? random() % changed.size() : changed.size());
            const std::string exact = changed; // no spare room for reads beyond the end
            Earth::ReadEverything(View(exact).data(), exact.size());
        }
    }
    EXPECT_GE(read, 7);
}

} // namespace
} // namespace KxC::EarthTest
