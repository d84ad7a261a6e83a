// SPDX-License-Identifier: MIT
/// The texts that paths and queries are made of.
#pragma once

#include "serve/TileRequest.h"

#include <string>
#include <string_view>

namespace KxTileHost::Serve {

/// Reads "name.extension" or a bare name.
/// @return false for another extension than png, jpg, jpeg and webp
bool ReadExtension(std::string_view& name, TileFormat& format);

/// Whether "%2F" is a slash, or wrong: in a path it would hide one.
enum class SlashRule { Decode, Refuse };
/// "%41" as "A"; false for a broken sequence, and for one that hides a control character.
bool DecodePercent(std::string_view text, std::string& decoded, SlashRule rule);

} // namespace KxTileHost::Serve
