// SPDX-License-Identifier: MIT
#pragma once

#include "Definition.h"
#include "Report.h"

#include <string>

namespace KxC {

/// Reads and checks a definition file. The result is good only when the report has not failed.
Definition ReadDefinition(const std::string& path, Report& report);

} // namespace KxC
