// SPDX-License-Identifier: MIT
/// What the readers of other programs' forms share.
#pragma once

#include "Definition.h"
#include "Report.h"
#include "UrlTemplate.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace KxC {

/// The definition that a reader fills, and where it reports to.
struct ForeignDefinition
{
    Report& report;
    Definition definition = {};

    void Error(const Place& place, const std::string& text) const
    {
        report.Error(place.line, place.key, text);
    }
    void Warn(const Place& place, const std::string& text) const
    {
        report.Warn(place.line, place.key, text);
    }
};

/// What is said of tiles that are drawings.
constexpr const char* kVectorTiles =
    "says that the tiles are drawings (vector tiles), which are not shown; use the service's "
    "pictures (raster tiles)";

/// Takes an address over; its grid is Web Mercator unless the definition already has a scheme.
/// Texts of other programs' files stand as they are written: no environment variables.
void TakeForeignUrl(const std::string& url,
                    const Place& place,
                    const UrlContext& context,
                    ForeignDefinition& target);

/// Takes a text over into `value`; one with control characters is an error.
void TakeForeignText(std::string_view key,
                     const std::string& text,
                     const Place& place,
                     std::optional<std::string>& value,
                     ForeignDefinition& target);

/// Adds "name: value" to the headers of every request.
/// @return false when there is no room for more, which is an error
bool AddForeignHeader(const std::string& name,
                      const std::string& value,
                      const Place& place,
                      ForeignDefinition& target);

/// A whole text as an integer of the given range; anything else is reported.
std::optional<int> ForeignInteger(const std::string& text,
                                  std::pair<int, int> range,
                                  const Place& place,
                                  const ForeignDefinition& target);

/// A whole text as a finite number, whatever the locale; anything else is reported.
std::optional<double>
ForeignNumber(const std::string& text, const Place& place, const ForeignDefinition& target);

/// Of the sources in a file, the index of the one to read: the wanted one, by its name or else by
/// its number from 1; none wanted, the first with a word on the others. Nothing, and an error, when
/// the wanted one is not there.
/// @param what  what the file calls them, such as "connections"
std::optional<std::size_t> ChooseSource(const std::vector<std::string>& names,
                                        const std::string& wanted,
                                        const std::string& what,
                                        Report& report);

} // namespace KxC
