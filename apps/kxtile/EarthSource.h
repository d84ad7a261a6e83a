// SPDX-License-Identifier: MIT
#pragma once

#include "KxTSDParam.h"
#include "KxTime.h"

#include <optional>
#include <string>
#include <vector>

namespace KxTileHost {

constexpr int kSchemeEarthHistory = 8;

/// Whether a text begins as an http or https address does.
bool IsWebAddress(const std::string& text);

/// Reads "YYYY-MM-DD", a day of the calendar; nothing for an empty text.
/// @throws CommandError (wrong usage) for anything else
std::optional<KxC::KxTime> ParseDate(const std::string& text);

/// "YYYY-MM-DD", as far as month and day are known.
std::string FormatDate(const KxC::KxTime& date);

/// Sends earth imagery's requests to the server that the source's address names, and gives the
/// source for a date.
/// @param source  of any scheme; only scheme 8 has dates
/// @param date    nothing leaves the source as it is
/// @return the source, or another record for the date
/// @throws CommandError: a date and another scheme (wrong usage), or an address that is none of a
///         server
KxC::KxTSDParamItem* AsEarthSource(KxC::KxTSDParamItem* source,
                                   const std::optional<KxC::KxTime>& date);

/// The different days of the earth imagery that was fetched since this was last asked, the oldest
/// first, "undated" for imagery without. What came from a cache is not among them.
std::vector<std::string> TakeFetchedDays();

/// Throws what the earth fetcher's last operation failed with, or that there was no imagery;
/// returns when it succeeded or was not asked since it was last looked at here.
void ThrowIfEarthFailed();

} // namespace KxTileHost
