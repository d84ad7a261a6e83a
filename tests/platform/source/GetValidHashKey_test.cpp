// SPDX-License-Identifier: MIT
#include "KxUtility.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace KxC {
namespace {

std::string Key(const std::string& text)
{
    return KxUtility::GetValidHashKey(KxString(text.data(), static_cast<int>(text.size()))).Cstr();
}

std::string Host(const std::string& text)
{
    const std::string key = Key(text);
    return key.size() > 32 ? key.substr(0, key.size() - 33) : "";
}

TEST(GetValidHashKey, IsTheHashWhereThereIsNoHost)
{
    // Published values of XXH3's 128-bit form with seed 0.
    EXPECT_EQ(Key(""), "99aa06d3014798d86001c324468d497f");
    EXPECT_EQ(Key("a"), "a96faf705af16834e6c632b61e964e1f");
    EXPECT_EQ(Key("/home/a/b.lua").size(), 32U);
    EXPECT_EQ(Key("lua:abc").size(), 32U);
}

TEST(GetValidHashKey, StartsWithTheHostOfAUrl)
{
    EXPECT_EQ(Host("https://Tile.Example.org/{$z}/{$x}/{$y}.png"), "tile.example.org");
    EXPECT_EQ(Host("http://{$serverpart}.tiles.test/a"), "tiles.test");
    EXPECT_EQ(Host("http://t{$serverpart}.tiles.test/a"), "t.tiles.test");
    EXPECT_EQ(Host("http://%s.tiles.test:8080/a"), "tiles.test");
    EXPECT_EQ(Host("http://user:pa@ss@tiles.test:80/a"), "tiles.test");
    EXPECT_EQ(Host("http://tiles.test?x=1"), "tiles.test");
    EXPECT_EQ(Host("http://[::1]:8080/a"), "1");
    EXPECT_EQ(Host("http://../a"), "");
    EXPECT_EQ(Host("http://{$serverpart}/a"), "");
    EXPECT_EQ(Host("http://影像.test/a"), "test");
    EXPECT_EQ(Host("/path?u=http://tiles.test/"), "");
    EXPECT_EQ(Host("http://" + std::string(47, 'a') + ".bc/"), std::string(47, 'a'));
}

TEST(GetValidHashKey, IsSafeAsAFolderNameWhateverTheText)
{
    const std::string alphabet = "abcdefghijklmnopqrstuvwxyz0123456789._-";
    std::set<std::string> keys;
    std::string text = "http://";
    for (int i = 0; i < 2000; ++i) {
        text += static_cast<char>(i * 37 % 256);
        const std::string key = Key(text);
        EXPECT_EQ(key.find_first_not_of(alphabet), std::string::npos) << key;
        EXPECT_NE(key[0], '.');
        EXPECT_GE(key.size(), 32U);
        EXPECT_LE(key.size(), 90U);
        keys.insert(key);
    }
    EXPECT_EQ(keys.size(), 2000U);
}

TEST(GetValidHashKey, TellsTextsApartThatDifferInCaseOrAfterANul)
{
    EXPECT_NE(Key("http://a/B"), Key("http://a/b"));
    EXPECT_NE(Key(std::string("a\0b", 3)), Key(std::string("a\0c", 3)));
}

} // namespace
} // namespace KxC
