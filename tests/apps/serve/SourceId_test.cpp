// SPDX-License-Identifier: MIT
#include "serve/SourceId.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using KxTileHost::Serve::SourceIds;

TEST(SourceIds, KeepWhatAddressesCanHold)
{
    SourceIds ids;
    EXPECT_EQ(ids.Take("osm_2-b"), "osm_2-b");
    EXPECT_EQ(ids.Take("a b/c?d"), "a-b-c-d");
    EXPECT_EQ(ids.Take("../x.y"), "x-y");
    EXPECT_EQ(ids.Take("地图"), "source");
    EXPECT_EQ(ids.Take(""), "source-2");
}

TEST(SourceIds, TellApartWhatWouldBeTheSame)
{
    SourceIds ids;
    EXPECT_EQ(ids.Take("city"), "city");
    EXPECT_EQ(ids.Take("City"), "City-2");
    EXPECT_EQ(ids.Take("city"), "city-3");
    EXPECT_EQ(ids.Take("city-2"), "city-2-2");
}

TEST(SourceIds, LeaveTheGatewaysOwnAddresses)
{
    SourceIds ids;
    EXPECT_EQ(ids.Take("wmts"), "wmts-2");
    EXPECT_EQ(ids.Take("Sources"), "Sources-2");
    EXPECT_EQ(ids.Take("page"), "page-2");
}

TEST(SourceIds, AreShort)
{
    SourceIds ids;
    EXPECT_EQ(ids.Take(std::string(1000, 'a')), std::string(64, 'a'));
}

} // namespace
