// SPDX-License-Identifier: MIT
#pragma once

#include "EarthPackets.h"
#include "EarthTiles.h"
#include "Pixels.h"

#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace KxOrigin {

/// What the earth server has: which tiles, in which versions, of which dates. docs/kxorigin.md
/// shows it as a table. Everything follows from a tile's numbers, so no version is the same at all
/// levels, and a client that takes one number for another asks for what is not there.

enum class EarthDatabase { Current, History };

constexpr int kEarthWorldLevel = 10;  ///< the whole world goes down to here
constexpr int kEarthDetailLevel = 20; ///< the detailed area goes down to here
constexpr int kEarthUndated = 0x221;  ///< the date that stands for the current picture
constexpr int kEarthSharedDate = 2022 << 9 | 3 << 5 | 5;

/// A date of which there are pictures of its own.
struct EarthHistoryDate
{
    int year, month, day;
    int provider;
    int lastLevel;
    bool isEastOnly; ///< only east of Greenwich
    Colour tint;     ///< of the pictures

    int Code() const { return EarthDate(year, month, day); }
    std::string_view Text() const; ///< "2004-07-14"
};

/// The earliest first.
std::span<const EarthHistoryDate> EarthHistoryDates();

int EarthEpoch(EarthDatabase database);
bool EarthTileExists(const EarthTile& tile);
/// Some tiles exist for what is below them and have no picture.
bool EarthTileHasImagery(const EarthTile& tile);
/// Of the current picture; the same in both databases.
int EarthImageVersion(const EarthTile& tile);
/// Of the packet that hangs on a tile; the epoch for the root's.
int EarthPacketVersion(EarthDatabase database, const EarthTile& tile);
/// Dated pictures of a tile, the shared ones among them; empty for a tile without history.
std::vector<EarthDatedTile> EarthDatesOf(const EarthTile& tile);

/// What the packet on a tile says, depth first.
/// @return nothing where no packet hangs
std::optional<std::vector<EarthNode>> EarthNodesOf(EarthDatabase database, const EarthTile& top);

std::vector<EarthProvider> EarthProviders();

} // namespace KxOrigin
