// SPDX-License-Identifier: MIT
#pragma once

#include "EarthOrders.h"

#include <vector>

namespace KxOrigin {

/// What each step of making an answer does differently where the answer is to be broken. All of
/// them do nothing for faults that are of another step.

/// Quadtree nodes, before they are written.
void BreakNodes(std::vector<EarthNode>& nodes, EarthFault fault);
/// A quadtree packet, before it is compressed.
void BreakPacket(Bytes& content, EarthFault fault, EarthDatabase database);
/// A message: the inner one of dbRoot, or a picture before it is encrypted.
void BreakMessage(Bytes& content, EarthFault fault);
/// A compressed packet, before it is encrypted.
void BreakPacked(Bytes& packed, EarthFault fault);
/// The whole answer.
void BreakAnswer(Bytes& answer, EarthFault fault);

/// Nodes of a packet that names further packets below every leaf.
std::vector<EarthNode> EndlessNodes(bool isRootPacket);

} // namespace KxOrigin
