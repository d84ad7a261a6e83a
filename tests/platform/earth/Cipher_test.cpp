// SPDX-License-Identifier: MIT
#include "Cipher.h"

#include "View.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>

namespace KxC::EarthTest {
namespace {

std::string Apply(std::string data, const std::string& key)
{
    Earth::ApplyKey({reinterpret_cast<unsigned char*>(data.data()), data.size()}, View(key));
    return data;
}

std::string Counting(std::size_t size)
{
    std::string bytes(size, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    return bytes;
}

TEST(ApplyKey, AgreesWithThePublishedVectorOfAShortKey)
{
    EXPECT_EQ(Apply(std::string(50, '\xA6'), "qsdfjhsdfjhskjfhkjhsdf kljhsdfjkhsdfjkhs"),
              FromHex("CDCCCED5C2C086CDD7D5C2C0CCCED5C2CACCCED5C2C0CCCDC0CCCED5"
                      "CDCCC0CECED5C2C0CCCDCED5CDCCCED5C2C086CDD7D5"));
}

TEST(ApplyKey, IsTheByteWiseFormForEveryLength)
{
    for (std::size_t keySize = 24; keySize <= 400; keySize += 8) {
        const std::string key = Counting(keySize);
        for (std::size_t size = 8; size < 3 * keySize; size += 5) {
            const std::string data(size, '\x5A');
            ASSERT_EQ(Apply(data, key), Encrypt(data, key)) << keySize << " " << size;
        }
    }
}

TEST(ApplyKey, TakesTheKeysBeginningForLessThanAWord)
{
    EXPECT_EQ(Apply(std::string(5, '\0'), Counting(24)), Counting(5));
    EXPECT_EQ(Apply("", Counting(24)), "");
}

TEST(ApplyKey, UndoesItself)
{
    const std::string data = Counting(1001);
    const std::string key = Counting(1016);
    EXPECT_EQ(Apply(Apply(data, key), key), data);
}

TEST(IsUsableKey, WantsThreeWholeWordsAtLeast)
{
    for (const std::size_t size : {24U, 32U, 1016U, 65536U})
        EXPECT_TRUE(Earth::IsUsableKey(View(Counting(size)))) << size;
    for (const std::size_t size : {0U, 8U, 16U, 23U, 25U, 1017U, 65544U})
        EXPECT_FALSE(Earth::IsUsableKey(View(Counting(size)))) << size;
}

/// The key that the published vectors were made with is no part of this tree.
class ApplyKeyPublished : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const char* folder = std::getenv("KXTILE_TEST_REFERENCE"); // NOLINT(concurrency-mt-unsafe)
        if (folder != nullptr)
            m_key = ReadFile(std::string(folder) + "/earth_default_key.bin");
        if (m_key.empty())
            GTEST_SKIP() << "KXTILE_TEST_REFERENCE names no folder with earth_default_key.bin";
        ASSERT_EQ(m_key.size(), 1016U);
    }
    std::string m_key;
};

TEST_F(ApplyKeyPublished, AgreesWithTheVectors)
{
    EXPECT_EQ(ToHex(Apply(Counting(40), m_key)),
              "f8481245635406457f146762dafd92648b906e032746f858132a8831b004722afd365735fea96253");
    EXPECT_EQ(
        ToHex(Apply(std::string(43, '\0'), m_key)),
        "f849104667510042771d6d69d6f09c6b9b817c103353ee4f0b33922aac196c35dd177516da8c447439d939");
    EXPECT_EQ(ToHex(Apply(std::string(5, '\0'), m_key)), "45f4bd0b79");
}

TEST_F(ApplyKeyPublished, UsesTheKeyWordsInTheirOrder)
{
    const std::string stream = Apply(std::string(1024, '\0'), m_key);
    const auto word = [&](std::size_t offset) { return ToHex(stream.substr(offset, 8)); };
    EXPECT_EQ(word(328), "35a8ff2831072d12");
    EXPECT_EQ(word(336), "45f4bd0b79e26a45");
    EXPECT_EQ(word(672), "c8dc88467c8a5b22");
    EXPECT_EQ(word(680), "2205922c17cd0671");
    EXPECT_EQ(word(1008), "15d4fc19ed1bec7f");
    EXPECT_EQ(word(1016), "f849104667510042");
}

TEST_F(ApplyKeyPublished, OpensTheSamplePacket)
{
    EXPECT_EQ(Apply(FromHex(kSampleBinaryRootWire), m_key).substr(0, 4),
              std::string("\xAD\xDE\x68\x74"));
}

} // namespace
} // namespace KxC::EarthTest
