// SPDX-License-Identifier: MIT
#pragma once

#include "EarthWorld.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace KxOrigin {

/// What is wrong with the answers of one kind.
enum class EarthFault {
    None,
    Truncated,   ///< the first half of the answer
    Empty,       ///< 200 without a body
    Html,        ///< 200 with an error page
    Noise,       ///< bytes without a meaning
    WrongKey,    ///< encrypted with the other database's key
    WrongMagic,  ///< of the compressed packet
    WrongSize,   ///< its size field is one too large
    HugeSize,    ///< its size field is nearly 4 GiB
    ShortStream, ///< its stream is cut, everything around it is whole
    Bomb,        ///< inflates to 32 MiB, and says so
    HiddenBomb,  ///< inflates to 32 MiB, and says 1024 bytes
    Counts,      ///< counts and lengths reach beyond the buffer
    Missing,     ///< children that are named do not follow
    Deep,        ///< nested a hundred thousand deep
    Endless,     ///< every leaf names a further packet, down to the last level and beyond
    NoPacket,    ///< packets that are named answer 404; all but the root's
    NoKey,       ///< dbRoot without a key
    ShortKey,    ///< dbRoot with a key of 7 bytes
    Half,        ///< the first half of the picture, wrapped and encrypted as a whole one
    Small,       ///< a picture of 64 x 64 pixels
};

/// Which of the answers a fault is in.
enum class EarthPart { Root, Quadtree, Image };

struct EarthOptions
{
    bool isWrapped = false; ///< pictures in imagery packets
    bool isPng = false;     ///< PNG in place of JPEG
    bool hasAlpha = false;  ///< wrapped, with an alpha PNG
    bool isPlain = false;   ///< packets and pictures are not encrypted
    bool isSwapped = false; ///< packets in the other byte order
    bool takesAnyVersion = false;
    bool answersEmpty = false; ///< 200 without a body in place of 404
    bool isGuarded = false;    ///< 403 without the key header
    bool isGraticule = false;  ///< the other picture
    EarthPart faultyPart = EarthPart::Root;
    EarthFault fault = EarthFault::None;
};

struct EarthRootOrder
{
    bool isProto = false;
};

struct EarthPacketOrder
{
    EarthTile tile;
    std::optional<int> version;
};

struct EarthImageOrder
{
    EarthTile tile;
    int version = 0;
    std::optional<int> date;
};

/// Something that a client asks the earth server for.
struct EarthOrder
{
    EarthOptions options;
    EarthDatabase database = EarthDatabase::Current;
    std::variant<EarthRootOrder, EarthPacketOrder, EarthImageOrder> what;
    /// What this answer is to have wrong.
    EarthFault Fault() const;

    std::string base; ///< address of this server, without a slash at its end; empty if unknown
};

/// Reads "proto,png" and so on.
/// @return nothing when a word is unknown
std::optional<EarthOptions> ReadEarthOptions(std::string_view words);
/// Reads "quadtree-bomb" and so on.
/// @return nothing when there is no such fault
std::optional<EarthOptions> ReadEarthFault(std::string_view word);

/// What the last part of a path and the query ask for; the options are left to the caller.
/// @return nothing for what no such server answers
std::optional<EarthOrder> ReadEarthOrder(std::string_view file, std::string_view query);

} // namespace KxOrigin
