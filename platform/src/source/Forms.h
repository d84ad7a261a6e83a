// SPDX-License-Identifier: MIT
#pragma once

#include "Definition.h"
#include "Report.h"

#include <string>
#include <string_view>
#include <vector>

namespace KxC {

/// A definition's text and what its path says about it.
struct DefinitionText
{
    std::string_view text; ///< without byte-order mark, at most 1 MiB
    std::string folder;    ///< where script files are sought
    std::string wanted;    ///< of several sources in one file, the name of the one; or empty
};

// One reader for each form. The result is good only when the report has not failed.

Definition ReadTomlForm(const DefinitionText& source, Report& report);
Definition ReadTileJsonForm(const DefinitionText& source, Report& report);
Definition ReadGdalWmsForm(const DefinitionText& source, Report& report);
Definition ReadQgisForm(const DefinitionText& source, Report& report);
Definition ReadMapProxyForm(const DefinitionText& source, Report& report);

// The names of the sources in forms that hold several; none where the text cannot be read.

std::vector<std::string> QgisSourceNames(const DefinitionText& source);
std::vector<std::string> MapProxySourceNames(const DefinitionText& source);

} // namespace KxC
