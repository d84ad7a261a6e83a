// SPDX-License-Identifier: MIT
#include "QuadPath.h"

#include "DateKey.h"
#include "View.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

namespace KxC::EarthTest {
namespace {

using Earth::MakeQuadPath;
using Earth::QuadPath;
using Earth::SubIndex;

struct Place
{
    double lat;
    double lon;
    int level;
    int col;
    int row;
    const char* text;
};

TEST(QuadPath, AgreesWithThePublishedTable)
{
    for (const Place& place :
         {Place{39.630575, -104.841299, 21, 437831, 1279440, "0301232010121332030111"},
          Place{39.9087, 116.3975, 10, 843, 625, "02102331012"},
          Place{-33.8688, 151.2093, 12, 3768, 1662, "0122013222330"},
          Place{0, 0, 3, 4, 4, "0200"}}) {
        const double tiles = std::ldexp(1.0, place.level);
        EXPECT_EQ(place.col, static_cast<int>((place.lon + 180) / 360 * tiles));
        EXPECT_EQ(place.row, static_cast<int>((place.lat + 180) / 360 * tiles));
        const auto path = MakeQuadPath(place.level, place.row, place.col);
        ASSERT_TRUE(path);
        EXPECT_EQ(path->Text(), place.text);
    }
}

TEST(QuadPath, CountsRowsFromTheSouth)
{
    // Published with the row counted from the north.
    const QuadPath path{23, (1 << 23) - 1 - 0x4C9129, 0x750CB3};
    EXPECT_EQ(path.Text(), "012201320330223023120321");
}

TEST(QuadPath, AncestorsAreTheBeginningsOfThePath)
{
    const QuadPath path{21, 1279440, 437831};
    for (int level = 0; level <= 21; ++level)
        EXPECT_EQ(path.Ancestor(level).Text(),
                  path.Text().substr(0, static_cast<std::size_t>(level) + 1));
}

TEST(MakeQuadPath, RefusesWhatIsOutsideTheGrid)
{
    EXPECT_TRUE(MakeQuadPath(0, 0, 0));
    EXPECT_FALSE(MakeQuadPath(0, 0, 1));
    EXPECT_FALSE(MakeQuadPath(0, 1, 0));
    EXPECT_FALSE(MakeQuadPath(0, -1, 0));
    EXPECT_FALSE(MakeQuadPath(3, 4, -1));
    EXPECT_FALSE(MakeQuadPath(3, 4, 8));
    EXPECT_FALSE(MakeQuadPath(-1, 0, 0));
    EXPECT_FALSE(MakeQuadPath(31, 1 << 29, 0));
    EXPECT_FALSE(MakeQuadPath(1000, 0, 0));
}

TEST(MakeQuadPath, KnowsOnlyRowsBetweenThePoles)
{
    for (int level = 0; level <= 12; ++level) {
        const double height = 360.0 / std::ldexp(1.0, level);
        for (int row = 0; row < 1 << level; ++row) {
            const double south = -180 + row * height;
            const bool between = south < 90 && south + height > -90;
            ASSERT_EQ(MakeQuadPath(level, row, 0).has_value(), between) << level << " " << row;
        }
    }
}

int InRootPacket(const char* digits)
{
    return SubIndex::Of(TileOf(digits)).Value();
}

/// By the digits behind those of the packet at 0213.
int InPacket(const std::string& digits)
{
    return SubIndex::Of(TileOf("213" + digits)).Value();
}

TEST(SubIndex, AgreesWithThePublishedTables)
{
    const std::map<const char*, int> root{
        {"", 0}, {"0", 1}, {"3", 4}, {"00", 5}, {"2", 3}, {"21", 14}, {"213", 60}, {"333", 84}};
    for (const auto& [digits, index] : root)
        EXPECT_EQ(InRootPacket(digits), index) << digits;
    const std::map<const char*, int> other{{"0", 1},
                                           {"1", 86},
                                           {"2", 171},
                                           {"3", 256},
                                           {"00", 2},
                                           {"02", 4},
                                           {"000", 6},
                                           {"0000", 22},
                                           {"3333", 340}};
    for (const auto& [digits, index] : other)
        EXPECT_EQ(InPacket(digits), index) << digits;
    EXPECT_EQ(SubIndex::Top(false).Value(), 0);
}

TEST(SubIndex, GivesEveryNodeItsOwnNumber)
{
    std::vector<int> uses(SubIndex::kCount);
    const auto count = [&uses](const auto& self, SubIndex index) -> void {
        ++uses[static_cast<std::size_t>(index.Value())];
        for (int digit = 0; digit < 4 && index.Depth() < index.MaxDepth(); ++digit)
            self(self, index.Child(digit));
    };
    count(count, SubIndex::Top(false));
    EXPECT_EQ(uses, std::vector<int>(341, 1));
    uses.assign(85, 0);
    count(count, SubIndex::Top(true));
    EXPECT_EQ(uses, std::vector<int>(85, 1));
}

TEST(PacketOfLevel, LeavesATopNodeToThePacketAbove)
{
    for (int level = 0; level <= 3; ++level)
        EXPECT_EQ(Earth::PacketOfLevel(level), 0);
    for (int level = 4; level <= 7; ++level)
        EXPECT_EQ(Earth::PacketOfLevel(level), 1);
    EXPECT_EQ(Earth::TopLevelOfPacket(0), 0);
    EXPECT_EQ(Earth::TopLevelOfPacket(1), 3);
    EXPECT_EQ(Earth::TopLevelOfPacket(2), 7);
    EXPECT_EQ(Earth::TopLevelOfPacket(6), 23);
}

TEST(DateKey, AgreesWithThePublishedTable)
{
    struct Row
    {
        int year, month, day;
        Earth::DateKey key;
    };
    for (const Row& row : {Row{1, 1, 1, 545},
                           Row{2006, 12, 27, 1027483},
                           Row{2008, 4, 23, 1028247},
                           Row{2020, 1, 15, 1034287},
                           Row{2024, 12, 31, 1036703},
                           Row{2026, 11, 20, 1037684},
                           Row{4095, 12, 31, 2097055}}) {
        EXPECT_EQ(Earth::KeyOfDate({row.year, row.month, row.day}), row.key);
        const KxTime back = Earth::DateOfKey(row.key);
        EXPECT_EQ(back.GetYear(), row.year);
        EXPECT_EQ(back.GetMonth(), row.month);
        EXPECT_EQ(back.GetDay(), row.day);
    }
}

TEST(DateKey, TakesAnyDateAtAll)
{
    EXPECT_EQ(Earth::KeyOfDate(KxTime()), 2097055U) << "no date wants the newest";
    EXPECT_EQ(Earth::KeyOfDate({5000, 1, 1}), 2097055U);
    EXPECT_EQ(Earth::KeyOfDate({-5, 1, 1}), 0U);
    EXPECT_EQ(Earth::KeyOfDate({0, 1, 1}), 0U);
    EXPECT_EQ(Earth::KeyOfDate({2020, 99, -4}), Earth::KeyOfDate({2020, 12, 0}));
    EXPECT_FALSE(Earth::IsDated(545));
    EXPECT_TRUE(Earth::IsDated(546));
    EXPECT_FALSE(Earth::IsDated(2097056));
}

} // namespace
} // namespace KxC::EarthTest
