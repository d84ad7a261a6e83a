// SPDX-License-Identifier: MIT
#pragma once

#include "DbRoot.h"
#include "EarthErrors.h"
#include "ImagePacket.h"
#include "PacketInflate.h"
#include "QuadPacket.h"

#include <cstddef>

namespace KxC::Earth {

/// Hands bytes to every reader of what a server sends, for tests with hostile bytes: whatever they
/// are, each reader reads them or refuses them.
/// @return how many read them
inline int ReadEverything(const unsigned char* bytes, std::size_t size)
{
    const ByteView view(bytes, size);
    int count = 0;
    const auto attempt = [&count](const auto& reader) {
        try {
            reader();
            ++count;
        } catch (const FetchFailure&) {
            return;
        }
    };
    attempt([&] { ReadQuadPacket(view, true); });
    attempt([&] { ReadQuadPacket(view, false); });
    attempt([&] { ReadProtobufPacket(view); });
    attempt([&] { ReadDbRoot(view); });
    attempt([&] { ReadWrappedImage(view); });
    attempt([&] { InflatePacket(view); });
    return count;
}

} // namespace KxC::Earth
