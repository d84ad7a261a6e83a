// SPDX-License-Identifier: MIT
#include "MallocBuffer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace KxC::Http {

namespace {

std::string TextOf(const MallocBuffer& buffer)
{
    return {reinterpret_cast<const char*>(buffer.Data()), buffer.Size()};
}

} // namespace

TEST(MallocBuffer, GrowsWithItsContent)
{
    MallocBuffer buffer;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        const std::string piece = std::to_string(i) + std::string(50, 'x');
        ASSERT_TRUE(buffer.Append(piece.data(), piece.size()));
        expected += piece;
    }
    buffer.Trim();
    EXPECT_EQ(expected, TextOf(buffer));
}

TEST(MallocBuffer, HandsItsBytesOver)
{
    MallocBuffer buffer;
    ASSERT_TRUE(buffer.Append("abc", 3));
    unsigned char* const bytes = buffer.Release();
    EXPECT_EQ('c', bytes[2]);
    EXPECT_EQ(0U, buffer.Size());
    std::free(bytes);
}

TEST(MallocBuffer, HandsOverNothingWhenEmpty)
{
    MallocBuffer buffer;
    ASSERT_TRUE(buffer.Reserve(100));
    EXPECT_EQ(nullptr, buffer.Release());
}

TEST(MallocBuffer, MovesAndStaysUsable)
{
    MallocBuffer buffer;
    ASSERT_TRUE(buffer.Append("abc", 3));
    const MallocBuffer other = std::move(buffer);
    EXPECT_EQ("abc", TextOf(other));
    ASSERT_TRUE(buffer.Append("d", 1)); // NOLINT(bugprone-use-after-move): the promise under test
    EXPECT_EQ("d", TextOf(buffer));
}

} // namespace KxC::Http
