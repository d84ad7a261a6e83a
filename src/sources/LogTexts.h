// SPDX-License-Identifier: MIT
/// The library's log texts. Log lines are GBK (code page 936); each text's reading stands beside
/// its bytes.
#pragma once

namespace KxC::LogTexts {

/// 打开失败！ ("cannot be opened!"), written straight after a path
inline constexpr char kOpenFailed[] = "\xB4\xF2\xBF\xAA\xCA\xA7\xB0\xDC\xA3\xA1";

} // namespace KxC::LogTexts
