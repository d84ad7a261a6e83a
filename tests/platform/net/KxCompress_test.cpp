// SPDX-License-Identifier: MIT
#include "KxCompress.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace KxC::Testing {

namespace {

using std::string_literals::operator""s;

// printf 'hello, tile\n' | gzip -n9
const std::string kHello = "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03\xcb\x48\xcd\xc9\xc9\xd7\x51"
                           "\x28\xc9\xcc\x49\xe5\x02\x00\x5a\x2e\x10\xf0\x0c\x00\x00\x00"s;
constexpr const char* kHelloText = "hello, tile\n";

struct Inflated
{
    int result = -1;
    std::string text;
};

Inflated Inflate(const std::string& gzip, unsigned int room)
{
    // Exactly as much room as said, so that a sanitizer sees a byte too many.
    std::string output(room, '?');
    unsigned int size = room;
    Inflated inflated;
    inflated.result =
        KxCompress::GZipDecompress(reinterpret_cast<const unsigned char*>(gzip.data()),
                                   static_cast<unsigned int>(gzip.size()),
                                   reinterpret_cast<unsigned char*>(output.data()),
                                   size);
    inflated.text = output.substr(0, size);
    return inflated;
}

void ExpectRefused(const std::string& gzip, unsigned int room)
{
    const Inflated inflated = Inflate(gzip, room);
    EXPECT_NE(0, inflated.result);
    EXPECT_EQ("", inflated.text);
}

} // namespace

TEST(KxCompress, FillsExactRoom)
{
    const Inflated inflated = Inflate(kHello, 12);
    EXPECT_EQ(0, inflated.result);
    EXPECT_EQ(kHelloText, inflated.text);
}

TEST(KxCompress, LeavesSpareRoom)
{
    EXPECT_EQ(kHelloText, Inflate(kHello, 64).text);
}

TEST(KxCompress, RefusesTooLittleRoom)
{
    ExpectRefused(kHello, 11);
    ExpectRefused(kHello, 0);
}

TEST(KxCompress, RefusesEveryCut)
{
    for (std::size_t length = 0; length < kHello.size(); ++length)
        ExpectRefused(kHello.substr(0, length), 64);
}

TEST(KxCompress, RefusesADamagedChecksum)
{
    std::string damaged = kHello;
    damaged[damaged.size() - 8] = static_cast<char>(damaged[damaged.size() - 8] ^ 1);
    ExpectRefused(damaged, 64);
}

TEST(KxCompress, JoinsMembers)
{
    EXPECT_EQ(kHelloText + std::string(kHelloText), Inflate(kHello + kHello, 24).text);
}

TEST(KxCompress, RefusesMembersThatTogetherNeedMoreRoom)
{
    ExpectRefused(kHello + kHello, 23);
}

TEST(KxCompress, RefusesACutSecondMember)
{
    ExpectRefused(kHello + kHello.substr(0, 20), 64);
}

TEST(KxCompress, IgnoresPaddingAfterTheStream)
{
    EXPECT_EQ(kHelloText, Inflate(kHello + std::string(512, '\0'), 64).text);
    EXPECT_EQ(kHelloText, Inflate(kHello + "garbage", 64).text);
}

TEST(KxCompress, RefusesNullTexts)
{
    unsigned int size = 5;
    EXPECT_NE(0, KxCompress::GZipDecompress(nullptr, 0, nullptr, size));
    EXPECT_EQ(0U, size);
}

TEST(KxCompress, SurvivesRandomBytes)
{
    std::mt19937 random(20);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes = kHello;
        for (int change = 0; change < 3; ++change)
            bytes[10 + random() % (bytes.size() - 10)] = static_cast<char>(random());
        const Inflated inflated = Inflate(bytes, 30);
        EXPECT_LE(inflated.text.size(), 30U);
    }
}

std::string Deflate(const std::string& text)
{
    std::vector<unsigned char> gzip = {1, 2, 3};
    EXPECT_TRUE(KxCompress::GZipCompress({text.begin(), text.end()}, gzip));
    return {gzip.begin(), gzip.end()};
}

TEST(KxCompress, DeflatesWhatInflatesToTheSame)
{
    std::mt19937 random(4711);
    std::string noise;
    for (int i = 0; i < 100000; ++i)
        noise += static_cast<char>(random());
    for (const std::string& text : {std::string(), std::string(kHelloText), noise})
        EXPECT_EQ(Inflate(Deflate(text), static_cast<unsigned int>(text.size())).text, text);
    EXPECT_LT(Deflate(std::string(100000, 'a')).size(), 1000U);
}

TEST(KxCompress, DeflatesWithoutATimeStamp)
{
    // ID1 ID2 CM FLG, then four bytes of time.
    EXPECT_EQ(Deflate("text").substr(0, 8), kHello.substr(0, 8));
}

} // namespace KxC::Testing
