// SPDX-License-Identifier: MIT
#pragma once

#include "QuadPacket.h"

#include <vector>

namespace KxC::Earth {

enum class Database : unsigned char { Current, History };

/// One image as it can be asked for.
struct ImageRef
{
    Database m_database = Database::Current;
    std::uint32_t m_version = 1;
    DateKey m_date = 0; ///< 0 for current imagery asked for as such, else the day that it shows

    friend bool operator==(const ImageRef&, const ImageRef&) = default;
};

enum class Choice : unsigned char {
    Image,   ///< this node's own
    Coarser, ///< look at the tile above
    Nothing, ///< definitely no imagery of the wanted time
};

struct ChosenImage
{
    Choice m_choice = Choice::Coarser;
    /// With Choice::Image, in the order to be tried: servers are known to advertise versions that
    /// they do not have while another one of the same node serves.
    std::vector<ImageRef> m_refs;
};

/// The current imagery of a node; null is a node that is not there.
ChosenImage ChooseCurrent(const QuadNode* node);

/// The newest imagery of a node that is not after `wanted`. A node without any dated imagery gives
/// its current one; one whose days are all later gives none, unless a coarser level has an earlier
/// day.
ChosenImage ChooseDated(const QuadNode* node, DateKey wanted);

/// The days of a node that can be asked for, newest first, each once.
std::vector<DateKey> DaysOf(const QuadNode& node);

} // namespace KxC::Earth
