// SPDX-License-Identifier: MIT
#include "EarthWorld.h"

#include <algorithm>
#include <array>

namespace KxOrigin {

namespace {

// 112.5 to 123.75 E, 33.75 to 45 N: Beijing lies in it.
constexpr EarthTile kDetailed{5, 26, 19};
// 140.625 to 135 W, 22.5 to 16.875 S.
constexpr EarthTile kMissing{6, 7, 28};
// 22.5 to 25.3125 E, 0 to 2.8125 N.
constexpr EarthTile kWithoutPicture{7, 72, 64};

constexpr int kFirstHistoryLevel = 3;
constexpr int kCurrentProvider = 7;

constexpr std::array<EarthHistoryDate, 3> kDates{{
    {2004, 7, 14, 11, kEarthDetailLevel, true, {220, 40, 40}},
    {2012, 5, 30, 12, 12, false, {40, 190, 40}},
    {2019, 9, 8, 13, kEarthDetailLevel, false, {60, 60, 230}},
}};
constexpr std::array<std::string_view, kDates.size()> kDateTexts{
    "2004-07-14", "2012-05-30", "2019-09-08"};

bool IsWithin(const EarthTile& tile, const EarthTile& area)
{
    return tile.level >= area.level && tile.Ancestor(area.level) == area;
}

bool TouchesRealLatitudes(const EarthTile& tile)
{
    const std::int64_t rows = std::int64_t{1} << tile.level;
    return tile.row * 4 < rows * 3 && (tile.row + 1) * 4 > rows;
}

bool IsDeepEnough(const EarthTile& tile)
{
    if (tile.level <= kEarthWorldLevel)
        return true;
    return tile.level <= kEarthDetailLevel && IsWithin(tile, kDetailed);
}

bool HasDate(const EarthTile& tile, const EarthHistoryDate& date)
{
    const bool isEast = tile.column * 2 >= std::int64_t{1} << tile.level;
    return isEast || !date.isEastOnly;
}

int ChildFlags(const EarthTile& tile)
{
    int flags = 0;
    for (int digit = 0; digit < 4; ++digit) {
        if (EarthTileExists(tile.Child(digit)))
            flags |= 1 << digit;
    }
    return flags;
}

void AddHistory(EarthNode& node, const EarthTile& tile)
{
    node.dates = EarthDatesOf(tile);
    if (node.dates.empty())
        return;
    node.historyVersion = 500 + tile.level;
    node.sharedDate = kEarthSharedDate;
    for (const EarthHistoryDate& date : kDates) {
        if (tile.level > date.lastLevel && HasDate(tile, date))
            node.coarseDates.push_back(date.Code());
    }
}

/// What a packet says of a node that is not its top.
EarthNode
DescribeNode(EarthDatabase database, const EarthTile& tile, std::string digits, bool isPacketBelow)
{
    EarthNode node{std::move(digits)};
    const int children = ChildFlags(tile);
    if (!isPacketBelow) {
        node.flags = children;
    } else if (children != 0) {
        // Which children there are is the packet's to say.
        node.flags = kEarthHasPacket;
        node.packetVersion = EarthPacketVersion(database, tile);
    }
    if (!EarthTileHasImagery(tile))
        return node;
    node.flags |= kEarthHasImagery;
    node.imageVersion = EarthImageVersion(tile);
    node.provider = kCurrentProvider;
    if (database == EarthDatabase::History)
        AddHistory(node, tile);
    return node;
}

void CollectNodes(EarthDatabase database,
                  const EarthTile& tile,
                  const std::string& digits,
                  int depth,
                  std::vector<EarthNode>& nodes)
{
    nodes.push_back(DescribeNode(database, tile, digits, depth == 0));
    for (int digit = 0; depth > 0 && digit < 4; ++digit) {
        const EarthTile child = tile.Child(digit);
        if (EarthTileExists(child))
            CollectNodes(
                database, child, digits + static_cast<char>('0' + digit), depth - 1, nodes);
    }
}

} // namespace

std::string_view EarthHistoryDate::Text() const
{
    const auto* found = std::find_if(
        kDates.begin(), kDates.end(), [&](const auto& date) { return date.Code() == Code(); });
    return kDateTexts.at(static_cast<std::size_t>(found - kDates.begin()));
}

std::span<const EarthHistoryDate> EarthHistoryDates()
{
    return kDates;
}

int EarthEpoch(EarthDatabase database)
{
    return database == EarthDatabase::Current ? 171 : 902;
}

bool EarthTileExists(const EarthTile& tile)
{
    return TouchesRealLatitudes(tile) && IsDeepEnough(tile) && !IsWithin(tile, kMissing);
}

bool EarthTileHasImagery(const EarthTile& tile)
{
    return EarthTileExists(tile) && !(tile == kWithoutPicture);
}

int EarthImageVersion(const EarthTile& tile)
{
    return 3 + tile.level + static_cast<int>((tile.column + tile.row) % 5);
}

int EarthPacketVersion(EarthDatabase database, const EarthTile& tile)
{
    if (tile.level == 0)
        return EarthEpoch(database);
    const int base = database == EarthDatabase::Current ? 40 : 300;
    return base + tile.level + static_cast<int>(tile.column % 3);
}

std::vector<EarthDatedTile> EarthDatesOf(const EarthTile& tile)
{
    std::vector<EarthDatedTile> dates;
    if (tile.level < kFirstHistoryLevel || !EarthTileHasImagery(tile))
        return dates;
    dates.push_back({kEarthUndated, 1, 0});
    int version = 60 + tile.level;
    for (const EarthHistoryDate& date : kDates) {
        version += 30;
        if (tile.level <= date.lastLevel && HasDate(tile, date))
            dates.push_back({date.Code(), version, date.provider});
    }
    dates.push_back({kEarthSharedDate, version + 30, 0});
    return dates;
}

std::optional<std::vector<EarthNode>> EarthNodesOf(EarthDatabase database, const EarthTile& top)
{
    if (!HasEarthPacket(top.level) || !EarthTileExists(top) || ChildFlags(top) == 0)
        return std::nullopt;
    std::vector<EarthNode> nodes;
    CollectNodes(database, top, "", EarthPacketDepth(top.level), nodes);
    // Of its own tile, the packet above has told everything but the children.
    if (top.level > 0)
        nodes.front() = EarthNode{"", ChildFlags(top)};
    return nodes;
}

std::vector<EarthProvider> EarthProviders()
{
    std::vector<EarthProvider> providers{{kCurrentProvider, "NASA Blue Marble"}};
    for (const EarthHistoryDate& date : kDates)
        providers.push_back({date.provider, "kxorigin, " + std::string(date.Text())});
    return providers;
}

} // namespace KxOrigin
