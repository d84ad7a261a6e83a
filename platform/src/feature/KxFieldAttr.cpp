// SPDX-License-Identifier: MIT
#include "KxFieldAttr.h"

namespace KxC {

KxFieldAttr::KxFieldAttr() = default;
KxFieldAttr::KxFieldAttr(const KxFieldAttr& other) = default;
KxFieldAttr::KxFieldAttr(KxFieldAttr&& other) noexcept = default;
KxFieldAttr& KxFieldAttr::operator=(const KxFieldAttr& other) = default;
KxFieldAttr& KxFieldAttr::operator=(KxFieldAttr&& other) noexcept = default;
KxFieldAttr::~KxFieldAttr() = default;

} // namespace KxC
