// SPDX-License-Identifier: MIT
#pragma once

/// Marks what libKxTile exports; everything else is built with hidden visibility.
#define KXTILE_API __attribute__((visibility("default")))
