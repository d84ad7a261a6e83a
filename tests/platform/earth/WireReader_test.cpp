// SPDX-License-Identifier: MIT
#include "WireReader.h"

#include "EarthErrors.h"
#include "View.h"

#include <gtest/gtest.h>

namespace KxC::EarthTest {
namespace {

using Earth::DamagedAnswer;
using Earth::WireField;
using Earth::WireReader;
using Earth::WireType;

/// Every field as "number=value" or "number:bytes".
std::vector<std::string> Fields(const std::string& message)
{
    std::vector<std::string> fields;
    WireReader reader(View(message));
    for (WireField field; reader.Next(field);) {
        const std::string number = std::to_string(field.m_number);
        const std::string bytes(field.m_bytes.begin(), field.m_bytes.end());
        fields.push_back(field.m_type == WireType::Number
                             ? number + "=" + std::to_string(field.m_value)
                             : number + ":" + bytes);
    }
    return fields;
}

using Strings = std::vector<std::string>;

TEST(WireReader, ReadsEveryKindOfField)
{
    const std::string message = Number(1, 300) + Varint(2 << 3 | 1) + LittleEndian(7, 8) +
                                Text(3, "abc") + Varint(4 << 3 | 5) + LittleEndian(9, 4) +
                                Group(5, Text(6, "in"));
    EXPECT_EQ(Fields(message), (Strings{"1=300", "2=7", "3:abc", "4=9", "5:" + Text(6, "in")}));
}

TEST(WireReader, FindsTheEndOfGroupsWithinGroups)
{
    const std::string inner = Group(2, Group(2, Number(1, 1)) + Text(3, "\x14\x14"));
    EXPECT_EQ(Fields(Group(2, inner) + Number(9, 1)), (Strings{"2:" + inner, "9=1"}));
}

TEST(WireReader, NarrowsToSignedNumbers)
{
    const std::string message = Number(1, ~0ULL);
    WireReader reader(View(message));
    WireField field;
    ASSERT_TRUE(reader.Next(field));
    EXPECT_EQ(field.AsInt32(), -1);
}

TEST(WireReader, ReadsPackedLists)
{
    const std::string list = Varint(1) + Varint(300) + Varint(70000);
    WireReader reader(View(list));
    std::vector<std::uint64_t> values;
    for (std::uint64_t value = 0; reader.NextPacked(value);)
        values.push_back(value);
    EXPECT_EQ(values, (std::vector<std::uint64_t>{1, 300, 70000}));
}

TEST(WireReader, RefusesWhatIsCutOffAnywhere)
{
    const std::string whole = Group(2,
                                    Number(1, 300) + Text(3, "abc") + Varint(4 << 3 | 5) + "1234" +
                                        Varint(6 << 3 | 1) + "12345678");
    ASSERT_EQ(Fields(whole).size(), 1U);
    for (std::size_t size = 1; size < whole.size(); ++size)
        EXPECT_THROW(Fields(whole.substr(0, size)), DamagedAnswer) << size;
}

TEST(WireReader, RefusesLyingLengths)
{
    for (const std::uint64_t length : {2ULL, 1ULL << 31, 1ULL << 32, ~0ULL >> 1, ~0ULL})
        EXPECT_THROW(Fields(Varint(1 << 3 | 2) + Varint(length) + "x"), DamagedAnswer) << length;
}

TEST(WireReader, RefusesNumbersThatDoNotEnd)
{
    EXPECT_THROW(Fields("\x08" + std::string(10, '\xFF') + "\x01"), DamagedAnswer);
    EXPECT_EQ(Fields("\x08" + std::string(9, '\xFF') + "\x01").size(), 1U);
}

TEST(WireReader, RefusesFieldsOfNoNumberOrKind)
{
    EXPECT_THROW(Fields(std::string("\0\0", 2)), DamagedAnswer);
    EXPECT_THROW(Fields(Varint(1 << 3 | 6)), DamagedAnswer);
    EXPECT_THROW(Fields(Varint(1 << 3 | 7)), DamagedAnswer);
    EXPECT_THROW(Fields(Varint(1ULL << 32 << 3) + "1"), DamagedAnswer);
    EXPECT_THROW(Fields(Group(2, Varint(1 << 3 | 7))), DamagedAnswer);
}

TEST(WireReader, RefusesGroupsWithoutTheirOwnEnd)
{
    EXPECT_THROW(Fields(Varint(2 << 3 | 4)), DamagedAnswer);
    EXPECT_THROW(Fields(Varint(2 << 3 | 3) + Varint(3 << 3 | 4)), DamagedAnswer);
}

TEST(WireReader, BoundsTheDepthOfGroups)
{
    std::string message;
    for (int depth = 0; depth < 32; ++depth)
        message = Group(2, message);
    EXPECT_EQ(Fields(message).size(), 1U);
    EXPECT_THROW(Fields(Group(2, message)), DamagedAnswer);
    EXPECT_THROW(Fields(std::string(1000000, '\x13')), DamagedAnswer);
}

} // namespace
} // namespace KxC::EarthTest
