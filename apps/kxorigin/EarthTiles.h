// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KxOrigin {

constexpr int kEarthPathLimit = 24; ///< digits of a path, as the protocol has it

/// A tile of the geographic square; rows count from the south.
struct EarthTile
{
    int level = 0;
    std::int64_t column = 0;
    std::int64_t row = 0;

    friend bool operator==(const EarthTile&, const EarthTile&) = default;

    /// @param digit  0 south-west, 1 south-east, 2 north-east, 3 north-west
    EarthTile Child(int digit) const;
    /// @param ancestorLevel  [0, level]
    EarthTile Ancestor(int ancestorLevel) const;
};

/// @param path  as addresses have it: a 0 for the root, then a digit for each level
/// @return nothing for another text and for more than kEarthPathLimit levels
std::optional<EarthTile> ReadEarthPath(std::string_view path);
/// The inverse of ReadEarthPath.
std::string EarthPathOf(const EarthTile& tile);

/// Whether a quadtree packet hangs on tiles of a level: 0, 3, 7, 11 and so on.
bool HasEarthPacket(int level);
/// How many levels below its own tile a packet describes: 3 for the root's, else 4.
int EarthPacketDepth(int packetLevel);

/// The number of a node within its packet.
/// @param digits  from the packet's own tile to the node
int EarthSubindex(std::string_view digits, bool isRootPacket);

} // namespace KxOrigin
