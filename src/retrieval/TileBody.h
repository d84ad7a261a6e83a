// SPDX-License-Identifier: MIT
/// What a service's answer holds.
#pragma once

#include "KxImageData.h"
#include "KxRawData.h"
#include "KxTSDParam.h"

#include <memory>

namespace KxC {

/// Whether the source's tiles come gzip-compressed: its format text ends in "gzip".
bool IsGzipSource(const KxTSDParamItem& source);

/// Inflates a gzip body into room for exactly twice its size; a body that needs more fails.
/// @param inflated  receives the bytes; left as it is on failure
bool InflateBody(const KxRawData& body, KxRawData& inflated);

/// Whether the bytes are one whole picture.
bool IsWholeImage(const KxRawData& bytes);

/// @return null when the bytes do not decode
std::unique_ptr<KxImageData> DecodeImage(const KxRawData& bytes);

} // namespace KxC
