// SPDX-License-Identifier: MIT
#include "KxContainers.h"

#include "KxPoint.h"
#include "KxString.h"
#include "KxWMTileDataCache.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace KxC {
namespace {

using Texts = KxArray<KxString>;
using Tiles = KxList<KxWMImageTileData*>;

// The 32-bit value and the list's count have no accessor: they are read at their fixed place.
static_assert(sizeof(Texts) == 4 * sizeof(void*));
static_assert(sizeof(Tiles) == 2 * sizeof(void*));
static_assert(sizeof(Tiles::POSITION) == 2 * sizeof(void*));

std::uint32_t ValueOf(const Texts& texts)
{
    std::uint32_t value = 0;
    std::memcpy(&value, reinterpret_cast<const char*>(&texts) + 3 * sizeof(void*), sizeof(value));
    return value;
}

void SetValueOf(Texts& texts, std::uint32_t value)
{
    std::memcpy(reinterpret_cast<char*>(&texts) + 3 * sizeof(void*), &value, sizeof(value));
}

std::string Joined(const Texts& texts)
{
    std::string joined;
    for (const KxString& text : texts)
        joined += text.Cstr();
    return joined;
}

void Fill(Texts& texts, const char* letters)
{
    for (; *letters != '\0'; ++letters)
        texts.Add(KxString(letters, 1));
}

KxWMImageTileData* Mark(std::uintptr_t number)
{
    return reinterpret_cast<KxWMImageTileData*>(number); // NOLINT: never followed
}

std::vector<std::uintptr_t> Numbers(Tiles& tiles)
{
    std::vector<std::uintptr_t> numbers;
    Tiles::POSITION position = tiles.GetHeadPosition();
    while (tiles.IsEOF(position) == 0)
        numbers.push_back(reinterpret_cast<std::uintptr_t>(tiles.GetNext(position)));
    return numbers;
}

using Numbered = std::vector<std::uintptr_t>;

TEST(KxArray, StartsEmptyWithValueZero)
{
    const Texts texts;
    EXPECT_EQ(texts.GetSize(), 0);
    EXPECT_EQ(ValueOf(texts), 0U);
    const KxArray<int> numbers;
    EXPECT_EQ(numbers.begin(), numbers.end());
    const KxArray<KxPoint3d> points;
    EXPECT_EQ(points.begin(), points.end());
}

TEST(KxArray, RefusesSubscriptsOutsideWithTheStandardError)
{
    Texts texts;
    Fill(texts, "ab");
    EXPECT_STREQ(texts[1].Cstr(), "b");
    for (const int outside : {-1, 2, 2147483647, -2147483647 - 1}) {
        try {
            texts[outside];
            FAIL() << outside;
        } catch (const std::out_of_range& error) {
            EXPECT_STREQ(error.what(), "invalid vector<T> subscript");
        }
    }
}

TEST(KxArray, CopiesElementsAndValue)
{
    Texts texts;
    Fill(texts, "abc");
    SetValueOf(texts, 7);
    Texts copy(texts);
    EXPECT_EQ(Joined(copy), "abc");
    EXPECT_EQ(ValueOf(copy), 7U);
    Texts assigned;
    Fill(assigned, "wxyz");
    assigned = texts;
    EXPECT_EQ(Joined(assigned), "abc");
    EXPECT_EQ(ValueOf(assigned), 7U);
    copy[0] = "z";
    EXPECT_EQ(Joined(texts), "abc");
}

TEST(KxArray, MovesElementsAndLeavesTheSourceReusable)
{
    Texts texts;
    Fill(texts, "abc");
    SetValueOf(texts, 7);
    Texts moved(std::move(texts));
    EXPECT_EQ(Joined(moved), "abc");
    EXPECT_EQ(ValueOf(moved), 7U);
    EXPECT_EQ(texts.GetSize(), 0); // NOLINT(bugprone-use-after-move): it is promised to be empty
    EXPECT_EQ(ValueOf(texts), 7U);
    Fill(texts, "d");
    EXPECT_EQ(Joined(texts), "d");
    Texts target;
    Fill(target, "old");
    target = std::move(moved);
    EXPECT_EQ(Joined(target), "abc");
    EXPECT_EQ(ValueOf(target), 7U);
    EXPECT_EQ(moved.GetSize(), 0); // NOLINT(bugprone-use-after-move): it is promised to be empty
}

TEST(KxArray, KeepsItsContentWhenAssignedToItself)
{
    Texts texts;
    Fill(texts, "abc");
    SetValueOf(texts, 7);
    Texts& same = texts;
    texts = same;
    EXPECT_EQ(Joined(texts), "abc");
    texts = std::move(same);
    EXPECT_EQ(Joined(texts), "abc");
    EXPECT_EQ(ValueOf(texts), 7U);
}

TEST(KxList, WalksNothingWhenEmpty)
{
    Tiles tiles;
    const Tiles::POSITION head = tiles.GetHeadPosition();
    EXPECT_EQ(tiles.IsEOF(head), 1);
}

TEST(KxList, AppendsAndWalksInOrder)
{
    Tiles tiles;
    tiles.AddTail(Mark(1));
    Tiles::POSITION second = tiles.AddTail(Mark(2));
    tiles.AddTail(Mark(3));
    EXPECT_EQ(Numbers(tiles), (Numbered{1, 2, 3}));
    EXPECT_EQ(tiles.GetNext(second), Mark(2));
    tiles.GetNext(second) = Mark(9);
    EXPECT_EQ(tiles.IsEOF(second), 1);
    EXPECT_EQ(Numbers(tiles), (Numbered{1, 2, 9}));
}

TEST(KxList, CopiesAndAssignsReusingNodes)
{
    Tiles three;
    for (const std::uintptr_t number : {1U, 2U, 3U})
        three.AddTail(Mark(number));
    Tiles copy(three);
    EXPECT_EQ(Numbers(copy), (Numbered{1, 2, 3}));
    Tiles one;
    one.AddTail(Mark(7));
    Tiles::POSITION reused = one.GetHeadPosition();
    one = three;
    EXPECT_EQ(Numbers(one), (Numbered{1, 2, 3}));
    EXPECT_EQ(one.GetNext(reused), Mark(1)) << "the node that was there holds the first element";
    Tiles short1;
    short1.AddTail(Mark(5));
    three = short1;
    EXPECT_EQ(Numbers(three), (Numbered{5}));
    const Tiles empty;
    three = empty;
    EXPECT_EQ(Numbers(three), Numbered{});
    three.AddTail(Mark(6));
    EXPECT_EQ(Numbers(three), (Numbered{6}));
}

TEST(KxList, MovesItsNodesAndLeavesTheSourceReusable)
{
    Tiles tiles;
    tiles.AddTail(Mark(1));
    Tiles moved(std::move(tiles));
    EXPECT_EQ(Numbers(moved), (Numbered{1}));
    EXPECT_EQ(Numbers(tiles), Numbered{}); // NOLINT(bugprone-use-after-move): promised empty
    tiles.AddTail(Mark(2));
    EXPECT_EQ(Numbers(tiles), (Numbered{2}));
    Tiles target;
    target.AddTail(Mark(3));
    target.AddTail(Mark(4));
    target = std::move(tiles);
    EXPECT_EQ(Numbers(target), (Numbered{2}));
    EXPECT_EQ(Numbers(tiles), Numbered{}); // NOLINT(bugprone-use-after-move): promised empty
}

TEST(KxList, KeepsItsContentWhenAssignedToItself)
{
    Tiles tiles;
    tiles.AddTail(Mark(1));
    Tiles& same = tiles;
    tiles = same;
    EXPECT_EQ(Numbers(tiles), (Numbered{1}));
    tiles = std::move(same);
    EXPECT_EQ(Numbers(tiles), (Numbered{1}));
}

TEST(KxList, RaisesTheLengthErrorWhenItCannotCountFurther)
{
    Tiles tiles;
    char* const count = reinterpret_cast<char*>(&tiles) + sizeof(void*);
    const std::size_t full = static_cast<std::size_t>(-1);
    std::memcpy(count, &full, sizeof(full));
    try {
        tiles.AddTail(Mark(1));
        ADD_FAILURE();
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "list<T> too long");
    }
    const std::size_t empty = 0;
    std::memcpy(count, &empty, sizeof(empty));
    EXPECT_EQ(Numbers(tiles), Numbered{});
}

TEST(KxArray, RaisesTheLengthErrorWhenItCannotCountFurther)
{
    // An array that claims to be full: its end is as far from its begin as a vector's can be.
    alignas(KxArray<unsigned char>) char room[sizeof(KxArray<unsigned char>)] = {};
    const std::uintptr_t bounds[3] = {
        0, static_cast<std::uintptr_t>(PTRDIFF_MAX), static_cast<std::uintptr_t>(PTRDIFF_MAX)};
    std::memcpy(room, bounds, sizeof(bounds));
    auto& array = *reinterpret_cast<KxArray<unsigned char>*>(room);
    try {
        array.Add(1);
        ADD_FAILURE();
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "vector<T> too long");
    }
}

} // namespace
} // namespace KxC
