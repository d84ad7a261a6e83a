// SPDX-License-Identifier: MIT
#include "EarthServer.h"

#include "EarthCipher.h"
#include "EarthFaults.h"
#include "Graticule.h"
#include "Marble.h"
#include "Routes.h"

#include <KxImageData.h>
#include <KxImgUtility.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <map>
#include <set>

namespace KxOrigin {
namespace {

/// Asks a server over its addresses and undoes cipher and compression.
class EarthServerTest : public ::testing::Test
{
protected:
    /// @param address  from the server's own name on, with its query
    std::optional<Bytes> Get(const std::string& address)
    {
        const std::size_t mark = address.find('?');
        const auto answer =
            Route({"GET", address.substr(0, mark), "", "", address.substr(mark + 1), "host:80"});
        const auto* order = std::get_if<EarthOrder>(&answer);
        return order == nullptr ? std::nullopt : m_server.Answer(*order);
    }

    /// What a compressed packet holds.
    Bytes Unpack(Bytes data, EarthDatabase database)
    {
        ApplyEarthKey(m_server.KeyOf(database), data);
        std::uint32_t size = 0;
        EXPECT_GE(data.size(), 8U);
        EXPECT_EQ(data[0] | data[1] << 8 | data[2] << 16, 0x68DEAD);
        std::memcpy(&size, &data[4], 4);
        Bytes content(size);
        uLongf length = size;
        EXPECT_EQ(uncompress(content.data(), &length, &data[8], data.size() - 8), Z_OK);
        EXPECT_EQ(length, size);
        return content;
    }

    Pixels DecodeImage(Bytes data, EarthDatabase database)
    {
        ApplyEarthKey(m_server.KeyOf(database), data);
        return DecodePicture(data);
    }

    static Pixels Gradient()
    {
        Pixels source(512, 256);
        for (int row = 0; row < 256; ++row) {
            for (int column = 0; column < 512; ++column)
                source.At(column, row) = {
                    static_cast<std::uint8_t>(column / 2), static_cast<std::uint8_t>(row), 60};
        }
        return source;
    }

    Marble m_marble{Gradient()};
    Graticule m_graticule;
    EarthServer m_server{m_marble, m_graticule};
};

int ShortAt(const Bytes& bytes, std::size_t offset)
{
    return bytes[offset] | bytes[offset + 1] << 8;
}

/// One node of the binary form, by its digits from the packet's tile.
struct ReadNode
{
    int flags;
    int packetVersion;
    int imageVersion;
};

/// Reads on through the nodes of a binary packet, depth first, as the protocol tells it.
void ReadNodes(const Bytes& packet,
               std::size_t& next,
               const std::string& digits,
               int depth,
               std::map<std::string, ReadNode>& nodes)
{
    ASSERT_LE(next + 32, packet.size());
    const ReadNode node{packet[next], ShortAt(packet, next + 2), ShortAt(packet, next + 4)};
    nodes[digits] = node;
    next += 32;
    for (int digit = 0; digit < 4 && depth > 0 && (node.flags & 0x10) == 0; ++digit) {
        if ((node.flags >> digit & 1) != 0)
            ReadNodes(packet, next, digits + static_cast<char>('0' + digit), depth - 1, nodes);
    }
}

std::map<std::string, ReadNode> ReadPacket(const Bytes& packet, int depth)
{
    std::map<std::string, ReadNode> nodes;
    std::size_t next = 32;
    ReadNodes(packet, next, "", depth, nodes);
    EXPECT_EQ(next, packet.size());
    return nodes;
}

TEST_F(EarthServerTest, ThePacketsLeadToABeijingTile)
{
    // Level 10, column 843, row 625: 02102331012.
    const auto root = Get("/earth/flatfile?q2-0-q.171");
    ASSERT_TRUE(root);
    const auto top = ReadPacket(Unpack(*root, EarthDatabase::Current), 3);
    ASSERT_TRUE(top.contains("210"));
    EXPECT_EQ(top.at("210").flags, 0x50);
    const auto version = std::to_string(top.at("210").packetVersion);

    const auto below = Get("/earth/flatfile?q2-0210-q." + version);
    ASSERT_TRUE(below);
    const auto middle = ReadPacket(Unpack(*below, EarthDatabase::Current), 4);
    EXPECT_EQ(middle.at("").flags, 0x0F);
    ASSERT_TRUE(middle.contains("2331"));

    const auto last =
        Get("/earth/flatfile?q2-02102331-q." + std::to_string(middle.at("2331").packetVersion));
    ASSERT_TRUE(last);
    const auto nodes = ReadPacket(Unpack(*last, EarthDatabase::Current), 4);
    ASSERT_TRUE(nodes.contains("012"));
    EXPECT_EQ(nodes.at("012").flags, 0x4F);
    const auto image =
        Get("/earth/flatfile?f1-02102331012-i." + std::to_string(nodes.at("012").imageVersion));
    ASSERT_TRUE(image);
    EXPECT_EQ(DecodeImage(*image, EarthDatabase::Current).width, 256);
}

TEST_F(EarthServerTest, PicturesLieNorthUpInTheGeographicSquare)
{
    // Level 2, column 2, row 2 from the south: 0 to 90 degrees east and north.
    const EarthTile tile{2, 2, 2};
    const auto image = Get("/earth/flatfile?f1-" + EarthPathOf(tile) + "-i." +
                           std::to_string(EarthImageVersion(tile)));
    ASSERT_TRUE(image);
    const Pixels pixels = DecodeImage(*image, EarthDatabase::Current);
    // Red is longitude, green grows to the south: 128 and 0 in the north-west corner.
    EXPECT_NEAR(pixels.At(2, 2).red, 128, 6);
    EXPECT_NEAR(pixels.At(2, 2).green, 0, 6);
    EXPECT_NEAR(pixels.At(253, 253).red, 191, 6);
    EXPECT_NEAR(pixels.At(253, 253).green, 127, 6);
}

TEST_F(EarthServerTest, HolesAreWhereTheyAreSaidToBe)
{
    EXPECT_FALSE(EarthTileExists({6, 7, 28}));
    EXPECT_FALSE(EarthTileExists(EarthTile{6, 7, 28}.Child(2)));
    EXPECT_TRUE(EarthTileExists({6, 8, 28}));
    EXPECT_TRUE(EarthTileExists({7, 72, 64}));
    EXPECT_FALSE(EarthTileHasImagery({7, 72, 64}));
    EXPECT_TRUE(EarthTileHasImagery(EarthTile{7, 72, 64}.Child(0)));
    EXPECT_TRUE(EarthTileExists({10, 512, 640}));
    EXPECT_FALSE(EarthTileExists({11, 1024, 1280}));
    EXPECT_TRUE(EarthTileExists({20, 843 << 10, 625 << 10}));
    EXPECT_FALSE(EarthTileExists({21, 843 << 11, 625 << 11}));
    // Beyond the poles there is nothing: rows 0 to 255 and 768 to 1023 of level 10.
    EXPECT_FALSE(EarthTileExists({10, 0, 255}));
    EXPECT_TRUE(EarthTileExists({10, 0, 256}));
    EXPECT_TRUE(EarthTileExists({10, 0, 767}));
    EXPECT_FALSE(EarthTileExists({10, 0, 768}));
    EXPECT_FALSE(Get("/earth-with/anyversion/flatfile?f1-" + EarthPathOf({7, 72, 64}) + "-i.1"));
    EXPECT_FALSE(Get("/earth-with/anyversion/flatfile?f1-" + EarthPathOf({6, 7, 28}) + "-i.1"));
}

TEST_F(EarthServerTest, VersionsMustBeRightUnlessAnyWillDo)
{
    const EarthTile tile{3, 5, 4};
    const std::string path = EarthPathOf(tile);
    const int version = EarthImageVersion(tile);
    EXPECT_TRUE(Get("/earth/flatfile?f1-" + path + "-i." + std::to_string(version)));
    EXPECT_FALSE(Get("/earth/flatfile?f1-" + path + "-i." + std::to_string(version + 1)));
    EXPECT_TRUE(Get("/earth-with/anyversion/flatfile?f1-" + path + "-i.9999"));
    EXPECT_TRUE(Get("/earth/flatfile?q2-0"));
    EXPECT_FALSE(Get("/earth/flatfile?q2-0-q.902"));
    EXPECT_TRUE(Get("/earth/flatfile?db=tm&qp-0-q.902"));
    EXPECT_FALSE(Get("/earth/flatfile?db=tm&qp-0-q.171"));
    EXPECT_FALSE(Get("/earth/flatfile?q2-01-q.1"));
}

/// Mean of a channel over the picture's corners, where no letters are.
double CornerMean(const Pixels& pixels, std::uint8_t Colour::*channel)
{
    double sum = 0;
    for (int row = 0; row < 60; ++row) {
        for (int column = 0; column < 256; ++column)
            sum += pixels.At(column, row).*channel;
    }
    return sum / (60 * 256);
}

TEST_F(EarthServerTest, EveryDateHasAPictureOfItsOwn)
{
    const EarthTile tile{4, 12, 9};
    std::vector<Pixels> pictures;
    for (const EarthDatedTile& dated : EarthDatesOf(tile)) {
        char hex[16];
        std::snprintf(hex, sizeof hex, "%x", static_cast<unsigned int>(dated.date));
        const auto image = Get("/earth/flatfile?db=tm&f1-" + EarthPathOf(tile) + "-i." +
                               std::to_string(dated.version) + "-" + hex);
        EXPECT_EQ(image.has_value(), dated.date != kEarthSharedDate) << hex;
        if (image)
            pictures.push_back(DecodeImage(*image, EarthDatabase::History));
    }
    // Undated, 2004, 2012, 2019: tinted red, green and blue.
    ASSERT_EQ(pictures.size(), 4U);
    EXPECT_GT(CornerMean(pictures[1], &Colour::red), CornerMean(pictures[2], &Colour::red) + 50);
    EXPECT_GT(CornerMean(pictures[2], &Colour::green),
              CornerMean(pictures[3], &Colour::green) + 50);
    EXPECT_GT(CornerMean(pictures[3], &Colour::blue), CornerMean(pictures[0], &Colour::blue) + 50);
    EXPECT_FALSE(Get("/earth/flatfile?db=tm&f1-" + EarthPathOf(tile) + "-i.1-fc82f"));
}

TEST_F(EarthServerTest, DatesDependOnTheTile)
{
    const auto datesOf = [](const EarthTile& tile) {
        std::set<int> dates;
        for (const EarthDatedTile& dated : EarthDatesOf(tile))
            dates.insert(dated.date);
        return dates;
    };
    const int first = EarthDate(2004, 7, 14);
    const int second = EarthDate(2012, 5, 30);
    const int third = EarthDate(2019, 9, 8);
    const int shared = EarthDate(2022, 3, 5);
    EXPECT_EQ(datesOf({2, 2, 2}), std::set<int>());
    EXPECT_EQ(datesOf({4, 3, 9}), (std::set<int>{0x221, second, third, shared}));
    EXPECT_EQ(datesOf({4, 12, 9}), (std::set<int>{0x221, first, second, third, shared}));
    const EarthTile deep{13, 843 << 3, 625 << 3};
    EXPECT_EQ(datesOf(deep), (std::set<int>{0x221, first, third, shared}));
    const auto nodes = EarthNodesOf(EarthDatabase::History, deep.Ancestor(11));
    ASSERT_TRUE(nodes);
    const std::string digits = EarthPathOf(deep).substr(12);
    for (const EarthNode& node : *nodes) {
        if (node.digits == digits) {
            EXPECT_EQ(node.coarseDates, std::vector<int>{second});
        }
    }
}

TEST_F(EarthServerTest, EachDatabaseNamesItsOwnKey)
{
    const auto current = Get("/earth/dbRoot.v5?hl=en&gl=us&output=proto");
    const auto history = Get("/earth/dbRoot.v5?db=tm&hl=en&gl=us&output=proto");
    ASSERT_TRUE(current && history);
    // Field 2 follows the two bytes of field 1 and its own tag and length, 1016 as a varint.
    const auto keyIn = [](const Bytes& root) {
        EXPECT_EQ(Bytes(root.begin(), root.begin() + 5), (Bytes{8, 0, 0x12, 0xF8, 0x07}));
        return Bytes(root.begin() + 5, root.begin() + 5 + 1016);
    };
    EXPECT_EQ(keyIn(*current), m_server.KeyOf(EarthDatabase::Current));
    EXPECT_EQ(keyIn(*history), m_server.KeyOf(EarthDatabase::History));
    EXPECT_NE(keyIn(*current), keyIn(*history));

    // Behind it field 3, with a length of one or two bytes.
    const std::size_t start = 5 + 1016 + (((*current)[5 + 1016 + 1] & 0x80) != 0 ? 3 : 2);
    const Bytes content =
        Unpack(Bytes(current->begin() + static_cast<std::ptrdiff_t>(start), current->end()),
               EarthDatabase::Current);
    const std::string text(content.begin(), content.end());
    EXPECT_NE(text.find("http://host:80/earth?db=tm"), std::string::npos);
    // Field 13, database_version, holds field 1 with 171.
    EXPECT_NE(text.find("\x6a\x03\x08\xab\x01"), std::string::npos);
}

TEST_F(EarthServerTest, WithoutOutputProtoTheRootIsTheOldOne)
{
    const auto root = Get("/earth/dbRoot.v5?hl=en");
    ASSERT_TRUE(root);
    EXPECT_EQ(Bytes(root->begin(), root->begin() + 4), (Bytes{0x94, 0x64, 0x87, 0x4E}));
}

TEST_F(EarthServerTest, OptionsChangeThePicturesForm)
{
    const std::string image = "/flatfile?f1-0-i.3";
    const auto startOf = [&](const std::string& options) {
        auto data = Get("/earth-with/" + options + image).value_or(Bytes(8));
        if (options.find("plain") == std::string::npos)
            ApplyEarthKey(m_server.KeyOf(EarthDatabase::Current), data);
        return Bytes(data.begin(), data.begin() + 3);
    };
    EXPECT_EQ(startOf("plain"), (Bytes{0xFF, 0xD8, 0xFF}));
    EXPECT_EQ(startOf("png"), (Bytes{0x89, 'P', 'N'}));
    EXPECT_EQ(startOf("proto"), (Bytes{0x08, 0x00, 0x12}));
    EXPECT_EQ(startOf("proto,png,plain"), (Bytes{0x08, 0x04, 0x12}));
    // The alpha type and a PNG stand behind the picture.
    const auto alpha = Get("/earth-with/alpha,plain" + image);
    ASSERT_TRUE(alpha);
    const std::string text(alpha->begin(), alpha->end());
    EXPECT_NE(text.find("\x18\x01\x22"), std::string::npos);
    EXPECT_NE(text.find("\x89PNG"), std::string::npos);
}

TEST_F(EarthServerTest, TheOrderOfParametersDoesNotMatter)
{
    EXPECT_EQ(Get("/earth/flatfile?qp-0-q.902&db=tm&ct=p"),
              Get("/earth/flatfile?db=tm&qp-0-q.902"));
}

TEST_F(EarthServerTest, NonsenseIsNotAnswered)
{
    for (const char* token : {"",
                              "q2",
                              "q2-",
                              "q2-4-q.1",
                              "q2-0-x.1",
                              "q2-0-q.",
                              "q2-0-q.-1",
                              "q2-0-q.99999999999",
                              "f1-0",
                              "f1-0-i.",
                              "f1-0-i.3-fd19f",
                              "f1-0-t.3",
                              "f1c-0-t.3",
                              "qp-0-q.902",
                              "db=mars&q2-0-q.171",
                              "db=tm&q2-0-q.902",
                              "q2-00000000000000000000000000000000-q.1"})
        EXPECT_FALSE(Get(std::string("/earth/flatfile?") + token)) << token;
    EXPECT_FALSE(Get("/earth/dbRoot.v6?output=proto"));
}

TEST_F(EarthServerTest, FaultsAreInThePartThatTheyAreAskedFor)
{
    const std::string root = "/dbRoot.v5?output=proto";
    const std::string packet = "/flatfile?q2-0-q.171";
    const std::string image = "/flatfile?f1-0-i.3";
    const auto differs = [&](const std::string& fault, const std::string& part) {
        return Get("/earth-broken/" + fault + part) != Get("/earth" + part);
    };
    for (const char* fault : {"truncated", "empty", "noise", "wrong-key", "counts", "deep"}) {
        const std::string name(fault);
        EXPECT_TRUE(differs("dbroot-" + name, root)) << fault;
        EXPECT_TRUE(differs("quadtree-" + name, packet)) << fault;
        EXPECT_TRUE(differs("image-" + name, image)) << fault;
        EXPECT_FALSE(differs("dbroot-" + name, packet)) << fault;
        EXPECT_FALSE(differs("quadtree-" + name, image)) << fault;
        EXPECT_FALSE(differs("image-" + name, packet)) << fault;
    }
    for (const char* fault :
         {"wrong-magic", "wrong-size", "huge-size", "short-stream", "bomb", "hidden-bomb"}) {
        EXPECT_TRUE(differs(std::string("dbroot-") + fault, root)) << fault;
        EXPECT_TRUE(differs(std::string("quadtree-") + fault, packet)) << fault;
    }
    for (const char* fault : {"missing", "endless"})
        EXPECT_TRUE(differs(std::string("quadtree-") + fault, packet)) << fault;
    for (const char* fault : {"half", "small"})
        EXPECT_TRUE(differs(std::string("image-") + fault, image)) << fault;
    for (const char* fault : {"no-key", "short-key"})
        EXPECT_TRUE(differs(std::string("dbroot-") + fault, root)) << fault;
    for (const char* fault : {"", "root", "dbroot-half", "image-bomb", "quadtree-no-key", "half"})
        EXPECT_FALSE(ReadEarthFault(fault)) << fault;
}

TEST_F(EarthServerTest, FaultsAreWhatTheirNamesSay)
{
    const auto packed = [&](const std::string& fault) {
        auto data =
            Get("/earth-broken/quadtree-" + fault + "/flatfile?q2-0-q.171").value_or(Bytes(8));
        ApplyEarthKey(m_server.KeyOf(EarthDatabase::Current), data);
        return data;
    };
    const auto sizeOf = [](const Bytes& data) {
        std::uint32_t size = 0;
        std::memcpy(&size, &data[4], 4);
        return size;
    };
    EXPECT_NE(ShortAt(packed("wrong-magic"), 0), 0xDEAD);
    EXPECT_EQ(sizeOf(packed("huge-size")), 0xFFFFFFF0U);
    EXPECT_EQ(sizeOf(packed("bomb")), 32U << 20);
    EXPECT_EQ(sizeOf(packed("hidden-bomb")), 1024U);
    EXPECT_LT(packed("bomb").size(), 100000U);

    const auto missing = Get("/earth-broken/quadtree-missing/flatfile?q2-0-q.171");
    const Bytes content = Unpack(*missing, EarthDatabase::Current);
    EXPECT_EQ(content.size(), 64U);
    EXPECT_EQ(content[32] & 0xF, 0xF);

    const auto small = Get("/earth-broken/image-small/flatfile?f1-0-i.3");
    EXPECT_EQ(DecodeImage(*small, EarthDatabase::Current).width, 64);
    EXPECT_TRUE(Get("/earth-broken/quadtree-endless/flatfile?q2-012301230123012301230123-q.1"));
    EXPECT_FALSE(
        Get("/earth-broken/quadtree-no-packet/flatfile?q2-0210-q." +
            std::to_string(EarthPacketVersion(EarthDatabase::Current, *ReadEarthPath("0210")))));
}

} // namespace
} // namespace KxOrigin
