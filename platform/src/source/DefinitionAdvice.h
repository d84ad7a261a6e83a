// SPDX-License-Identifier: MIT
#pragma once

#include "Definition.h"
#include "Report.h"

namespace KxC {

/// Warns of what a definition says that is understood but hardly meant, whatever its form.
void AdviseOn(const Definition& definition, Report& report);

} // namespace KxC
