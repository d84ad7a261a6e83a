// SPDX-License-Identifier: MIT
#include "KxString.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace KxC {
namespace {

std::string Bytes(const KxString& text)
{
    return {text.Cstr(), static_cast<std::size_t>(text.GetLength())};
}

std::vector<std::string> Pieces(const KxString& text, const char* separators, bool keepEmpty)
{
    KxArray<KxString> parts;
    text.Split(parts, separators, keepEmpty ? 1 : 0);
    std::vector<std::string> pieces;
    for (const KxString& part : parts)
        pieces.push_back(Bytes(part));
    return pieces;
}

using Texts = std::vector<std::string>;

const KxString kWithNul("a\0b", 3);

TEST(KxString, StartsEmpty)
{
    const KxString text;
    EXPECT_EQ(text.IsEmpty(), 1);
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_STREQ(text.Cstr(), "");
}

TEST(KxString, CountsNullTextAndNegativeLengthAsEmpty)
{
    EXPECT_EQ(KxString(nullptr).IsEmpty(), 1);
    EXPECT_EQ(KxString("abc", -1).IsEmpty(), 1);
    EXPECT_EQ(KxString(nullptr, 3).IsEmpty(), 1);
    EXPECT_EQ(Bytes(KxString("abc", 2)), "ab");
}

TEST(KxString, KeepsNulBytesAndCountsBytes)
{
    EXPECT_EQ(kWithNul.GetLength(), 3);
    EXPECT_EQ(kWithNul[2], 'b');
    EXPECT_EQ(Bytes(kWithNul + kWithNul), std::string("a\0ba\0b", 6));
    EXPECT_FALSE(kWithNul == KxString("a"));
    EXPECT_EQ(KxString("\xE5\x9C\xB0\xE5\x9B\xBE").GetLength(), 6);
}

TEST(KxString, CopiesAndMoves)
{
    KxString text("tile");
    KxString copy(text);
    copy += "s";
    EXPECT_STREQ(text.Cstr(), "tile");
    text = copy;
    EXPECT_STREQ(text.Cstr(), "tiles");
    const KxString moved(std::move(copy));
    EXPECT_STREQ(moved.Cstr(), "tiles");
    text = *&text;
    EXPECT_STREQ(text.Cstr(), "tiles");
}

TEST(KxString, Formats)
{
    KxString text;
    EXPECT_STREQ(text.Format("%s/%d/%.2f", "z", 7, 1.5).Cstr(), "z/7/1.50");
    EXPECT_STREQ(text.Format("%s", "").Cstr(), "");
}

TEST(KxString, FormatsLongText)
{
    const std::string longText(100000, 'x');
    KxString text;
    text.Format("<%s>", longText.c_str());
    EXPECT_EQ(Bytes(text), "<" + longText + ">");
}

TEST(KxString, FormatsFromItsOwnContent)
{
    KxString text("abc");
    text.Format("%s-%s", text.Cstr(), text.Cstr());
    EXPECT_STREQ(text.Cstr(), "abc-abc");
}

TEST(KxString, FormatsNothingFromTextThatCannotBeConverted)
{
    KxString text("before");
    text.Format("%ls", L"\xD800");
    EXPECT_EQ(text.IsEmpty(), 1);
}

TEST(KxString, ReplacesFromTheLeftWithoutOverlap)
{
    KxString text("aaaaa");
    EXPECT_EQ(text.Replace("aa", "b"), 2);
    EXPECT_STREQ(text.Cstr(), "bba");
}

TEST(KxString, DoesNotReplaceAgainInWhatItPutIn)
{
    KxString text("x-x");
    EXPECT_EQ(text.Replace("x", "xx"), 2);
    EXPECT_STREQ(text.Cstr(), "xx-xx");
}

TEST(KxString, ReplacesByNothingAndByItself)
{
    KxString text("{$x}/{$y}/{$x}");
    EXPECT_EQ(text.Replace("{$x}", ""), 2);
    EXPECT_STREQ(text.Cstr(), "/{$y}/");
    EXPECT_EQ(text.Replace(text, text + text), 1);
    EXPECT_STREQ(text.Cstr(), "/{$y}//{$y}/");
    EXPECT_EQ(text.Replace("{$z}", "1"), 0);
}

TEST(KxString, ReplacesNothingForAnEmptyText)
{
    KxString text("abc");
    EXPECT_EQ(text.Replace("", "x"), 0);
    EXPECT_STREQ(text.Cstr(), "abc");
}

TEST(KxString, ReplacesNulBytes)
{
    KxString text(kWithNul);
    EXPECT_EQ(text.Replace(KxString("\0", 1), "0"), 1);
    EXPECT_STREQ(text.Cstr(), "a0b");
}

TEST(KxString, SplitsAtEachOfTheSeparators)
{
    EXPECT_EQ(Pieces("a, b c,d", " ,", false), (Texts{"a", "b", "c", "d"}));
    EXPECT_EQ(Pieces("a, b c,d", " ,", true), (Texts{"a", "", "b", "c", "d"}));
}

TEST(KxString, SplitsEmptyPiecesAtTheEnds)
{
    EXPECT_EQ(Pieces(",a,", " ,", false), (Texts{"a"}));
    EXPECT_EQ(Pieces(",a,", " ,", true), (Texts{"", "a", ""}));
    EXPECT_EQ(Pieces(" , ", " ,", false), Texts{});
}

TEST(KxString, SplitsEmptyTextAndWithoutSeparators)
{
    EXPECT_EQ(Pieces("", " ,", false), Texts{});
    EXPECT_EQ(Pieces("", " ,", true), (Texts{""}));
    EXPECT_EQ(Pieces("a b", "", false), (Texts{"a b"}));
}

TEST(KxString, SplitAppends)
{
    KxArray<KxString> parts;
    parts.Add("first");
    KxString("second").Split(parts, ",", 0);
    ASSERT_EQ(parts.GetSize(), 2);
    EXPECT_STREQ(parts[1].Cstr(), "second");
}

TEST(KxString, FindsAtOrAfterTheStart)
{
    const KxString text("abcabc");
    EXPECT_EQ(text.Find("bc"), 1);
    EXPECT_EQ(text.Find("bc", 1), 1);
    EXPECT_EQ(text.Find("bc", 2), 4);
    EXPECT_EQ(text.Find("bc", 5), -1);
    EXPECT_EQ(text.Find("x"), -1);
    EXPECT_EQ(text.Find("a", -7), 0);
    EXPECT_EQ(text.Find("a", 100), -1);
    EXPECT_EQ(kWithNul.Find("b"), 2);
}

TEST(KxString, TakesEndsWithinBounds)
{
    const KxString text("abcd");
    EXPECT_STREQ(text.Left(2).Cstr(), "ab");
    EXPECT_STREQ(text.Right(2).Cstr(), "cd");
    EXPECT_STREQ(text.Left(9).Cstr(), "abcd");
    EXPECT_STREQ(text.Right(9).Cstr(), "abcd");
    for (const int none : {0, -1, -2147483647 - 1}) {
        EXPECT_STREQ(text.Left(none).Cstr(), "");
        EXPECT_STREQ(text.Right(none).Cstr(), "");
    }
}

TEST(KxString, ComparesWithoutTheCaseOfAsciiLettersOnly)
{
    EXPECT_EQ(KxString("Tile.PNG").CompareNoCase("tILE.png"), 0);
    EXPECT_LT(KxString("abc").CompareNoCase("ABD"), 0);
    EXPECT_GT(KxString("b").CompareNoCase("A"), 0);
    EXPECT_LT(KxString("ab").CompareNoCase("abc"), 0);
    EXPECT_GT(KxString("abc").CompareNoCase("AB"), 0);
    EXPECT_NE(KxString("\xC3\x84").CompareNoCase("\xC3\xA4"), 0) << "an umlaut";
    EXPECT_NE(KxString("@[").CompareNoCase("`{"), 0) << "next to the letters";
    EXPECT_GT(KxString("\xFF").CompareNoCase("a"), 0) << "bytes have no sign";
    EXPECT_NE(kWithNul.CompareNoCase("a"), 0);
}

TEST(KxString, AppendsItself)
{
    KxString text("ab");
    text += text;
    text += 'c';
    EXPECT_STREQ(text.Cstr(), "ababc");
    EXPECT_STREQ(("x" + text).Cstr(), "xababc");
}

TEST(KxString, AnswersNulOutside)
{
    const KxString text("ab");
    EXPECT_EQ(text[0], 'a');
    EXPECT_EQ(text[1], 'b');
    EXPECT_EQ(text[2], '\0');
    EXPECT_EQ(text[-1], '\0');
    EXPECT_EQ(KxString()[0], '\0');
}

} // namespace
} // namespace KxC
