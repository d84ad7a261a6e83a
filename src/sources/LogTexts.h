// SPDX-License-Identifier: MIT
/// The library's log texts. Log lines are GBK (code page 936); each text's reading stands beside
/// its bytes.
#pragma once

namespace KxC::LogTexts {

/// 打开失败！ ("cannot be opened!"), written straight after a path
inline constexpr char kOpenFailed[] = "\xB4\xF2\xBF\xAA\xCA\xA7\xB0\xDC\xA3\xA1";

/// @name The mosaic's
/// @{
/// 输出的图片范围有问题 ("the extent of the output picture is wrong")
inline constexpr char kNoExtent[] =
    "\xCA\xE4\xB3\xF6\xB5\xC4\xCD\xBC\xC6\xAC\xB7\xB6\xCE\xA7\xD3\xD0\xCE\xCA\xCC\xE2";
/// 未建立正确的坐标系! ("no proper coordinate system was made!")
inline constexpr char kNoCoordSys[] =
    "\xCE\xB4\xBD\xA8\xC1\xA2\xD5\xFD\xC8\xB7\xB5\xC4\xD7\xF8\xB1\xEA\xCF\xB5!";
/// 打开影像数据失败! ("opening the raster failed!")
inline constexpr char kRasterNotOpened[] =
    "\xB4\xF2\xBF\xAA\xD3\xB0\xCF\xF1\xCA\xFD\xBE\xDD\xCA\xA7\xB0\xDC!";
/// 输出的文件大于2GB，可能失败! ("the output file exceeds 2 GB, this may fail!")
inline constexpr char kPictureBeyond2GB[] =
    "\xCA\xE4\xB3\xF6\xB5\xC4\xCE\xC4\xBC\xFE\xB4\xF3\xD3\xDA"
    "2GB\xA3\xAC\xBF\xC9\xC4\xDC\xCA\xA7\xB0\xDC!";
/// 输出的文件大太大，内存分配失败! ("the output file is too large, memory allocation failed!"); 大
/// stands twice
inline constexpr char kPictureTooLarge[] =
    "\xCA\xE4\xB3\xF6\xB5\xC4\xCE\xC4\xBC\xFE\xB4\xF3\xCC\xAB\xB4\xF3\xA3\xAC\xC4\xDA\xB4\xE6\xB7"
    "\xD6\xC5\xE4\xCA\xA7\xB0\xDC!";
/// @}

} // namespace KxC::LogTexts
