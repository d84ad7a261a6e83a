// SPDX-License-Identifier: MIT
// The flatfile protocol's pieces against examples that were written down elsewhere.
#include "EarthCipher.h"
#include "EarthPackets.h"
#include "EarthTiles.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <set>

namespace KxOrigin {
namespace {

/// Blanks are passed over.
Bytes FromHex(std::string_view text)
{
    Bytes bytes;
    std::string pair;
    for (const char digit : text) {
        if (digit == ' ')
            continue;
        pair += digit;
        if (pair.size() == 2) {
            bytes.push_back(static_cast<unsigned char>(std::stoi(pair, nullptr, 16)));
            pair.clear();
        }
    }
    return bytes;
}

Bytes Inflate(std::span<const unsigned char> stream, std::size_t size)
{
    Bytes content(size);
    uLongf length = size;
    EXPECT_EQ(uncompress(content.data(), &length, stream.data(), stream.size()), Z_OK);
    EXPECT_EQ(length, size);
    return content;
}

TEST(EarthCipher, GivesTheKnownCipherText)
{
    // From the tests of Google Earth Enterprise.
    const std::string key = "qsdfjhsdfjhskjfhkjhsdf kljhsdfjkhsdfjkhs";
    Bytes data(50, 0xA6);
    ApplyEarthKey(Bytes(key.begin(), key.end()), data);
    EXPECT_EQ(data,
              FromHex("CDCCCED5C2C086CDD7D5C2C0CCCED5C2CACCCED5C2C0CCCDC0CCCED5CDCCC0CECED5C2C0"
                      "CCCDCED5CDCCCED5C2C086CDD7D5"));
}

TEST(EarthCipher, PassesThroughTheKeyAsTheReferenceDoes)
{
    // A key whose byte n is n mod 251 shows which bytes were taken: words at 16, 40, ..., 1000;
    // then 0, 24, ..., 1008; then 8, 32, ..., 992; then 16 again.
    Bytes key(kEarthKeySize);
    for (std::size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<unsigned char>(i % 251);
    Bytes data(1016 + 16);
    ApplyEarthKey(key, data);
    const auto wordAt = [&](std::size_t offset) {
        return Bytes(data.data() + offset, data.data() + offset + 8);
    };
    const auto keyWord = [&](std::size_t offset) {
        return Bytes(key.data() + offset, key.data() + offset + 8);
    };
    EXPECT_EQ(wordAt(0), keyWord(16));
    EXPECT_EQ(wordAt(8), keyWord(40));
    EXPECT_EQ(wordAt(328), keyWord(1000));
    EXPECT_EQ(wordAt(336), keyWord(0));
    EXPECT_EQ(wordAt(672), keyWord(1008));
    EXPECT_EQ(wordAt(680), keyWord(8));
    EXPECT_EQ(wordAt(1008), keyWord(992));
    EXPECT_EQ(wordAt(1016), keyWord(16));
}

TEST(EarthCipher, KeysHaveNoPatternAndDiffer)
{
    const Bytes key = MakeEarthKey(1);
    EXPECT_EQ(key.size(), 1016U);
    EXPECT_EQ(key, MakeEarthKey(1));
    EXPECT_NE(key, MakeEarthKey(2));
    EXPECT_GT(std::set<unsigned char>(key.begin(), key.end()).size(), 230U);
}

TEST(EarthTiles, PathsOfKnownTiles)
{
    const struct
    {
        EarthTile tile;
        const char* path;
    } kKnown[] = {{{21, 437831, 1279440}, "0301232010121332030111"},
                  {{10, 843, 625}, "02102331012"},
                  {{12, 3768, 1662}, "0122013222330"},
                  {{3, 4, 4}, "0200"},
                  {{23, 0x750CB3, (1 << 23) - 1 - 0x4C9129}, "012201320330223023120321"},
                  {{0, 0, 0}, "0"}};
    for (const auto& [tile, path] : kKnown) {
        EXPECT_EQ(ReadEarthPath(path), tile) << path;
        EXPECT_EQ(EarthPathOf(tile), path);
    }
    for (const char* path : {"", "1", "04", "0-1", "0 ", "0000000000000000000000000000"})
        EXPECT_FALSE(ReadEarthPath(path)) << path;
}

TEST(EarthTiles, SubindicesOfKnownNodes)
{
    EXPECT_EQ(EarthSubindex("", true), 0);
    EXPECT_EQ(EarthSubindex("0", true), 1);
    EXPECT_EQ(EarthSubindex("3", true), 4);
    EXPECT_EQ(EarthSubindex("00", true), 5);
    EXPECT_EQ(EarthSubindex("333", true), 84);
    EXPECT_EQ(EarthSubindex("", false), 0);
    EXPECT_EQ(EarthSubindex("0", false), 1);
    EXPECT_EQ(EarthSubindex("1", false), 86);
    EXPECT_EQ(EarthSubindex("2", false), 171);
    EXPECT_EQ(EarthSubindex("3", false), 256);
    EXPECT_EQ(EarthSubindex("00", false), 2);
    EXPECT_EQ(EarthSubindex("02", false), 4);
    EXPECT_EQ(EarthSubindex("000", false), 6);
    EXPECT_EQ(EarthSubindex("0000", false), 22);
    EXPECT_EQ(EarthSubindex("3333", false), 340);
}

TEST(EarthTiles, PacketsHangOnEveryFourthLevel)
{
    std::set<int> levels;
    for (int level = 0; level <= 24; ++level) {
        if (HasEarthPacket(level))
            levels.insert(level);
    }
    EXPECT_EQ(levels, (std::set<int>{0, 3, 7, 11, 15, 19, 23}));
}

TEST(EarthPackets, DatesAsTheProtocolCountsThem)
{
    EXPECT_EQ(EarthDate(1, 1, 1), 0x221);
    EXPECT_EQ(EarthDate(2006, 12, 27), 0xfad9b);
    EXPECT_EQ(EarthDate(2020, 1, 15), 0xfc82f);
    EXPECT_EQ(EarthDate(4095, 12, 31), 0x1fff9f);
}

TEST(EarthPackets, ABinaryPacketIsTheKnownOne)
{
    const std::vector<EarthNode> nodes{
        {"", 0x01, 0, 0, 0}, {"0", 0x44, 0, 8, 7}, {"02", 0x40, 0, 9, 7}};
    EXPECT_EQ(WriteBinaryPacket(nodes),
              FromHex("2d7e000001000000020000000300000020000000800000000000000000000000"
                      "0100000000000000000000000000000000000000000000000000000000000000"
                      "4400000008000000000000000000000000000000000000000000000007000000"
                      "4000000009000000000000000000000000000000000000000000000007000000"));
}

TEST(EarthPackets, AProtobufRootPacketIsTheKnownOne)
{
    std::vector<EarthNode> nodes{
        {"", 0x04, 0, 0, 0}, {"2", 0x42, 0, 4, 7}, {"21", 0x48, 0, 5, 7}, {"213", 0x50, 42, 6, 7}};
    nodes[1].historyVersion = 50;
    nodes[1].dates = {{EarthDate(1, 1, 1), 1, 0},
                      {EarthDate(2008, 4, 23), 10, 7},
                      {EarthDate(2020, 1, 15), 273, 0},
                      {EarthDate(2024, 12, 31), 361, 9}};
    nodes[1].sharedDate = EarthDate(2020, 1, 15);
    EXPECT_EQ(WriteProtoPacket(900, true, nodes),
              FromHex("0884071318002202080414131803223f08421a060800100418071a3308031032"
                      "222d0a0708a104100118000a080897e13e100a18070a0908af903f1091021800"
                      "0a09089fa33f10e902180910af903f1413180e220a08481a0608001005180714"
                      "13183c220c0850102a1a0608001006180714"));
}

TEST(EarthPackets, AProtobufPacketBelowIsTheKnownOne)
{
    std::vector<EarthNode> nodes{{"", 0x01, 0, 0, 0}, {"0", 0x44, 0, 8, 7}, {"02", 0x40, 0, 9, 7}};
    nodes[1].historyVersion = 50;
    nodes[1].dates = {{EarthDate(2012, 12, 31), 115, 9}};
    EXPECT_EQ(WriteProtoPacket(42, false, nodes),
              FromHex("082a1318002202080114131801221c08441a060800100818071a100803103222"
                      "0a0a08089ff33e1073180914131804220a08401a0608001009180714"));
}

TEST(EarthPackets, ADbRootIsTheKnownOne)
{
    const Bytes known = FromHex("08011a0e0807120a120828632920546573743a1e18018202190a17687474703a"
                                "2f2f3132372e302e302e312f3f64623d746d6a0308d2097001");
    EXPECT_EQ(WriteRoot({{{7, "(c) Test"}}, "http://127.0.0.1/?db=tm", 1234, true}), known);

    // What another packer made of it; the key is A0 to BF.
    Bytes wire = FromHex("1d6fdac78db5b6b7d87b41c3304745c7af5ba8596cf568eba0e0"
                         "87851d3f3dcfdcd32057a67a9e9e89117074939194708bb9f8f8c1462a9b733b"
                         "7687ca23e533b53db29f65b98c");
    Bytes key(32);
    for (std::size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<unsigned char>(0xA0 + i);
    ApplyEarthKey(key, wire);
    EXPECT_EQ(Bytes(wire.begin(), wire.begin() + 4), FromHex("ADDE6874"));
    EXPECT_EQ(Inflate(std::span(wire).subspan(8), wire[4]), known);
}

TEST(EarthPackets, TheMessageAroundADbRootIsTheKnownOne)
{
    EXPECT_EQ(WriteEncryptedRoot(FromHex("A0A1A2"), FromHex("1d6f")),
              FromHex("0800 1203a0a1a2 1a021d6f"));
}

TEST(EarthPackets, AWrappedPictureIsTheKnownOne)
{
    EXPECT_EQ(WrapEarthImage(EarthImageType::Jpeg, FromHex("FFD8FFE0"), FromHex("89504E47"), 7),
              FromHex("08001204ffd8ffe01801220489504e472807"));
}

TEST(EarthPackets, PackedContentInflatesToWhatItWas)
{
    const Bytes content = MakeEarthKey(3);
    const Bytes packed = PackEarth(content, false);
    EXPECT_EQ(Bytes(packed.begin(), packed.begin() + 8), FromHex("ADDE6874 F8030000"));
    EXPECT_EQ(Inflate(std::span(packed).subspan(8), 1016), content);
    const Bytes swapped = PackEarth(content, true);
    EXPECT_EQ(Bytes(swapped.begin(), swapped.begin() + 8), FromHex("7468DEAD 000003F8"));
    EXPECT_EQ(Inflate(std::span(swapped).subspan(8), 1016), content);
}

TEST(EarthPackets, TheOldRootHasItsPartsWhereTheyBelong)
{
    const Bytes key = MakeEarthKey(5);
    const Bytes root = WriteBinaryRoot(171, key, Bytes(20, 'x'));
    ASSERT_EQ(root.size(), 1024U + 20);
    EXPECT_EQ(Bytes(root.begin(), root.begin() + 4), FromHex("9464874E"));
    EXPECT_EQ(Bytes(root.begin() + 8, root.begin() + 1024), key);
    // The header is encrypted as one word, with key bytes 16 to 23.
    EXPECT_EQ((root[6] ^ key[22]) | (root[7] ^ key[23]) << 8, 171);
    EXPECT_EQ(root[1024] ^ key[16], 'x');
}

} // namespace
} // namespace KxOrigin
