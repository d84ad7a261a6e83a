// SPDX-License-Identifier: MIT
#pragma once

#include "Bytes.h"

#include <string>
#include <vector>

namespace KxC::Earth {

/// What a database's root tells a client of its imagery.
struct DbRoot
{
    std::vector<unsigned char> m_key; ///< of this database's packets
    std::uint32_t m_version = 1;      ///< of its uppermost quadtree packet
    std::string m_historyServer = {}; ///< where history imagery is, as written; empty: not told

    friend bool operator==(const DbRoot&, const DbRoot&) = default;
};

/// Reads a dbRoot as it came, in the protobuf form or the older binary one.
/// @throws DamagedAnswer, std::bad_alloc
DbRoot ReadDbRoot(ByteView answer);

} // namespace KxC::Earth
