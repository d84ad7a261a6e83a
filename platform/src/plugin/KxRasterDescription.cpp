// SPDX-License-Identifier: MIT
#include "KxRasterDescription.h"

namespace KxC {

KxRasterDescriber::KxRasterDescriber() = default;

KxRasterDescriber::~KxRasterDescriber() = default;

} // namespace KxC
