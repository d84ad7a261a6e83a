// SPDX-License-Identifier: MIT
#pragma once

#include "Definition.h"
#include "Report.h"

namespace KxC {

/// Warns of what a definition says that is understood but hardly meant, whatever its form. Of one
/// that has failed, only what is there is looked at.
void AdviseOn(const Definition& definition, Report& report);

} // namespace KxC
