// SPDX-License-Identifier: MIT
#pragma once

#include "KxTSDParam.h"

#include <cstring>

namespace KxTileHost {

/// Whether a source's format text ends in a word, case aside: "gzip" marks compressed tiles, "png"
/// tiles with room for transparency.
inline bool FormatEndsIn(const KxC::KxTSDParamItem& source, const char* word)
{
    const int length = static_cast<int>(std::strlen(word));
    const KxC::KxString& format = source.m_strImageFormat;
    return format.GetLength() >= length && format.Right(length).CompareNoCase(word) == 0;
}

} // namespace KxTileHost
