// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Answer.h"

#include <string>

struct MHD_Connection;
struct MHD_Response;

namespace KxTileHost::Serve {

/// Whether the connection is there for another request afterwards.
enum class Afterwards { KeepAlive, Close };

/// Sends an answer. The response made of it is kept in the answer and used for every request that
/// has it.
/// @param serverName  for the Server header
/// @return the status that is sent; 0 when the connection must be cut
int SendAnswer(MHD_Connection* connection,
               const Answer& answer,
               const std::string& serverName,
               Afterwards afterwards = Afterwards::KeepAlive);

} // namespace KxTileHost::Serve
