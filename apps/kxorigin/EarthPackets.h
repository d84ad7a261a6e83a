// SPDX-License-Identifier: MIT
#pragma once

#include "Encoding.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace KxOrigin {

/// What the packets of the flatfile protocol consist of, before compression and cipher.

constexpr int kEarthHasPacket = 0x10;  ///< node flag: a packet hangs below
constexpr int kEarthHasImagery = 0x40; ///< node flag

/// A dated picture of a tile.
struct EarthDatedTile
{
    int date = 0; ///< as EarthDate makes it
    int version = 0;
    int provider = 0; ///< 0: the picture of the current database
};

/// year << 9 | month << 5 | day
constexpr int EarthDate(int year, int month, int day)
{
    return year << 9 | month << 5 | day;
}

struct EarthNode
{
    std::string digits; ///< from the packet's own tile
    int flags = 0;      ///< bits 0 to 3 for the children
    int packetVersion = 0;
    int imageVersion = 0;
    int provider = 0;
    int historyVersion = 0; ///< 0: no history
    std::vector<EarthDatedTile> dates{};
    int sharedDate = 0; ///< 0: none
    std::vector<int> coarseDates{};
};

/// The q2 form.
/// @param nodes  depth first, each before its children
Bytes WriteBinaryPacket(std::span<const EarthNode> nodes);
/// The qp form.
Bytes WriteProtoPacket(int epoch, bool isRootPacket, std::span<const EarthNode> nodes);

struct EarthProvider
{
    int id;
    std::string copyright;
};

struct EarthRoot
{
    std::vector<EarthProvider> providers;
    std::string historyUrl; ///< empty: none is named
    int quadtreeVersion = 1;
    bool isImageryWrapped = false;
};

/// The message inside of dbRoot.
Bytes WriteRoot(const EarthRoot& root);
/// The message around it.
/// @param data  packed and encrypted
Bytes WriteEncryptedRoot(std::span<const unsigned char> key, std::span<const unsigned char> data);
/// The old form of dbRoot.
/// @param key   kEarthKeySize bytes
/// @param body  packed, not encrypted
Bytes WriteBinaryRoot(int quadtreeVersion, std::span<const unsigned char> key, Bytes body);

enum class EarthImageType { Jpeg = 0, Png = 4 };

/// An imagery packet around a picture.
/// @param alpha  a PNG, empty for none
Bytes WrapEarthImage(EarthImageType type,
                     std::span<const unsigned char> image,
                     std::span<const unsigned char> alpha,
                     int provider);

/// Compresses and puts magic and size in front.
/// @param isSwapped  both are written in the other byte order
Bytes PackEarth(const Bytes& content, bool isSwapped);

void AppendLittleEndian(Bytes& bytes, std::uint32_t value, int size);

} // namespace KxOrigin
