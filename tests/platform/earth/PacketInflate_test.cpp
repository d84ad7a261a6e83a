// SPDX-License-Identifier: MIT
#include "PacketInflate.h"

#include "EarthErrors.h"
#include "View.h"

#include <gtest/gtest.h>

namespace KxC::EarthTest {
namespace {

using Earth::DamagedAnswer;

const std::string kKey = "0123456789abcdefghijklmnopqrstuv";

std::string Inflate(const std::string& packet)
{
    const Earth::OwnedBytes bytes = Earth::InflatePacket(View(packet));
    return {bytes.View().begin(), bytes.View().end()};
}

std::string Open(std::string packet)
{
    const Earth::OwnedBytes bytes = Earth::OpenPacket(
        {reinterpret_cast<unsigned char*>(packet.data()), packet.size()}, View(kKey));
    return {bytes.View().begin(), bytes.View().end()};
}

TEST(InflatePacket, InflatesBothByteOrders)
{
    EXPECT_EQ(Inflate(Compress("some text")), "some text");
    EXPECT_EQ(Inflate(CompressSwapped("some text")), "some text");
    EXPECT_EQ(Inflate(Compress("")), "");
}

TEST(InflatePacket, RefusesAnotherSizeThanItStates)
{
    for (const std::uint32_t size : {0U, 8U, 10U, 1000U})
        EXPECT_THROW(Inflate(CompressStating("some text", size)), DamagedAnswer) << size;
}

TEST(InflatePacket, RefusesImpossibleSizesBeforeTakingMemory)
{
    for (const std::uint32_t size : {16U << 20, (16U << 20) + 1, 0x7FFFFFFFU, 0xFFFFFFFFU})
        EXPECT_THROW(Inflate(CompressStating("some text", size)), DamagedAnswer) << size;
}

TEST(InflatePacket, TakesUpTo16MebibytesAndNoMore)
{
    const std::string most(16U << 20, 'x');
    EXPECT_EQ(Inflate(Compress(most)).size(), most.size());
    EXPECT_THROW(Inflate(Compress(most + "x")), DamagedAnswer);
    EXPECT_THROW(Inflate(CompressStating(most + most, 16U << 20)), DamagedAnswer);
}

TEST(InflatePacket, RefusesWhatIsCutOffAnywhere)
{
    const std::string whole = Compress("some text that is long enough to be deflated, deflated");
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_THROW(Inflate(whole.substr(0, size)), DamagedAnswer) << size;
}

TEST(InflatePacket, RefusesEveryChangedByte)
{
    const std::string whole = Compress("some text");
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ 0x01);
        EXPECT_THROW(Inflate(changed), DamagedAnswer) << at;
    }
}

TEST(OpenPacket, DecryptsUnlessThePacketCameUnencrypted)
{
    EXPECT_EQ(Open(Encrypt(Compress("some text"), kKey)), "some text");
    EXPECT_EQ(Open(Compress("some text")), "some text");
    EXPECT_EQ(Open(CompressSwapped("some text")), "some text");
}

TEST(OpenPacket, RefusesAnotherKeysPacket)
{
    const std::string other(32, 'k');
    EXPECT_THROW(Open(Encrypt(Compress("some text"), other)), DamagedAnswer);
    EXPECT_THROW(Open(""), DamagedAnswer);
    EXPECT_THROW(Open("abc"), DamagedAnswer);
}

} // namespace
} // namespace KxC::EarthTest
