// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"

#include <cstdint>
#include <memory>
#include <string>

namespace KxTileHost {

/// A picture read from disk.
struct PictureFile
{
    std::unique_ptr<KxC::KxImageData> m_image; ///< never null
    std::uintmax_t m_size = 0;                 ///< of the file, bytes
};

/// Reads a PNG, JPEG, WebP or GIF.
/// @throws CommandError when it cannot be read, is larger than 256 MiB, or is no such picture
PictureFile ReadPictureFile(const std::string& path);

} // namespace KxTileHost
