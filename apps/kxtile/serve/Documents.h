// SPDX-License-Identifier: MIT
/// What the gateway says of its sources, in the forms that programs read.
#pragma once

#include "serve/SourceTable.h"

#include <string>

namespace KxTileHost::Serve {

/// @param version  of the program
std::string WriteSourcesJson(const SourceList& sources, const std::string& version);

/// @param base  of all addresses, without a slash at its end: "http://127.0.0.1:8480"
/// @param day   of history imagery, whose tiles the addresses lead to; 0 for the newest
/// @{
std::string WriteTileJsonOf(const Source& source, const std::string& base, DayNumber day = 0);
std::string WriteGdalXmlOf(const Source& source, const std::string& base, DayNumber day = 0);
std::string WriteQgisList(const SourceList& sources, const std::string& base);
std::string WriteWmtsCapabilities(const SourceList& sources, const std::string& base);
std::string WriteTmsService(const SourceList& sources, const std::string& base);
std::string WriteTmsMap(const Source& source, const std::string& base);
/// @}

} // namespace KxTileHost::Serve
