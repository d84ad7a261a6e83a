// SPDX-License-Identifier: MIT
#include "KxRawData.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace KxC {
namespace {

unsigned char* NewBytes(const char* text)
{
    auto* bytes = static_cast<unsigned char*>(std::malloc(std::strlen(text) + 1));
    std::memcpy(bytes, text, std::strlen(text) + 1);
    return bytes;
}

// That nothing leaks and nothing is freed twice shows under the address sanitizer.

TEST(KxRawData, StartsWithoutBytesOrExtension)
{
    const KxRawData data;
    EXPECT_EQ(data.GetSize(), 0U);
    EXPECT_EQ(data.GetData(), nullptr);
    EXPECT_EQ(data.GetExt().IsEmpty(), 1);
}

TEST(KxRawData, AdoptsBytesWithoutACopy)
{
    unsigned char* bytes = NewBytes("tile");
    KxRawData data;
    data.Attach(bytes, 4);
    EXPECT_EQ(data.GetData(), bytes);
    EXPECT_EQ(data.GetSize(), 4U);
    data.Attach(NewBytes("other"), 5);
    EXPECT_EQ(data.GetSize(), 5U);
}

TEST(KxRawData, MayBeGivenItsOwnBytesAgain)
{
    KxRawData data;
    data.Attach(NewBytes("tile"), 4);
    data.Attach(data.GetData(), 2);
    EXPECT_EQ(data.GetSize(), 2U);
    EXPECT_EQ(data.GetData()[1], 'i');
}

TEST(KxRawData, HasNoDataWithoutBytes)
{
    KxRawData data;
    data.Attach(nullptr, 7);
    EXPECT_EQ(data.GetSize(), 0U);
    data.Attach(NewBytes("tile"), 0);
    EXPECT_EQ(data.GetData(), nullptr);
}

TEST(KxRawData, HandsItsBytesOver)
{
    KxRawData data;
    data.Attach(NewBytes("tile"), 4);
    unsigned char* bytes = data.Detach();
    EXPECT_EQ(std::memcmp(bytes, "tile", 4), 0);
    EXPECT_EQ(data.GetSize(), 0U);
    EXPECT_EQ(data.GetData(), nullptr);
    EXPECT_EQ(data.Detach(), nullptr);
    std::free(bytes);
}

TEST(KxRawData, ClearingKeepsTheExtension)
{
    KxRawData data;
    data.SetExt(".png");
    data.Attach(NewBytes("tile"), 4);
    data.Clear();
    data.Clear();
    EXPECT_EQ(data.GetData(), nullptr);
    EXPECT_STREQ(data.GetExt().Cstr(), ".png");
}

} // namespace
} // namespace KxC
