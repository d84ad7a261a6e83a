// SPDX-License-Identifier: MIT
#include "EarthTiles.h"

namespace KxOrigin {

EarthTile EarthTile::Child(int digit) const
{
    const int north = digit >> 1;
    const int east = north ^ (digit & 1);
    return {level + 1, column * 2 + east, row * 2 + north};
}

EarthTile EarthTile::Ancestor(int ancestorLevel) const
{
    const int steps = level - ancestorLevel;
    return {ancestorLevel, column >> steps, row >> steps};
}

std::optional<EarthTile> ReadEarthPath(std::string_view path)
{
    if (!path.starts_with('0') || path.size() > kEarthPathLimit + 1)
        return std::nullopt;
    EarthTile tile;
    for (const char digit : path.substr(1)) {
        if (digit < '0' || digit > '3')
            return std::nullopt;
        tile = tile.Child(digit - '0');
    }
    return tile;
}

std::string EarthPathOf(const EarthTile& tile)
{
    std::string path = "0";
    for (int level = 1; level <= tile.level; ++level) {
        const EarthTile ancestor = tile.Ancestor(level);
        const auto north = static_cast<int>(ancestor.row & 1);
        const auto east = static_cast<int>(ancestor.column & 1);
        path += static_cast<char>('0' + 2 * north + (north ^ east));
    }
    return path;
}

bool HasEarthPacket(int level)
{
    return level == 0 || level % 4 == 3;
}

int EarthPacketDepth(int packetLevel)
{
    return packetLevel == 0 ? 3 : 4;
}

int EarthSubindex(std::string_view digits, bool isRootPacket)
{
    if (digits.empty())
        return 0;
    if (!isRootPacket)
        return 1 + 85 * (digits[0] - '0') + EarthSubindex(digits.substr(1), true);
    int index = 0;
    for (const char digit : digits)
        index = 4 * index + (digit - '0') + 1;
    return index;
}

} // namespace KxOrigin
