// SPDX-License-Identifier: MIT
#pragma once

#include "Definition.h"

#include <string_view>

namespace KxC {

// What a definition's words come to in the record.

/// The scheme's code: a keyword's, else the leading number, else 0.
int SchemeOf(const Definition& definition);

bool IsBaiduGrid(int scheme);
/// Whether the library counts the scheme's rows from the north of a grid of half as many rows.
bool HasHalfRows(int scheme);

/// Whether the word for the direction of rows says that they count from the south.
bool IsFromSouth(std::string_view rows);

constexpr int kSchemeBaidu = 4;
constexpr int kSchemeBingMap = 6;
constexpr int kSchemeEarthHistory = 8;

} // namespace KxC
