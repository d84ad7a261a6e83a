// SPDX-License-Identifier: MIT
#pragma once

/// Marks what libKxCommon exports; everything else is built with hidden visibility.
#define KXCOMMON_API __attribute__((visibility("default")))
