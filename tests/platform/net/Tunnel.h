// SPDX-License-Identifier: MIT
#pragma once

#include "support/LoopbackServer.h"

namespace KxC::Testing {

/// A proxy's route for CONNECT: grants it, then carries bytes to and from a port of 127.0.0.1,
/// whatever host was asked for, until either end closes.
Route TunnelsTo(int port);

} // namespace KxC::Testing
