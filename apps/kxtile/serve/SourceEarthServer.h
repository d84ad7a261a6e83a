// SPDX-License-Identifier: MIT
/// All earth sources of a process ask one server: who chose it. For one thread at a time.
#pragma once

#include <string>

namespace KxTileHost::Serve {

/// Whether a source may ask that server: nobody else asks another one.
bool MayAskEarthServer(const std::string& id, const std::string& address);
/// From now on the source asks that server.
void NoteEarthServer(const std::string& id, const std::string& address);
/// The source asks none any more, and keeps no other from choosing.
void ForgetEarthServer(const std::string& id);

} // namespace KxTileHost::Serve
