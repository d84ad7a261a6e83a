// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"
#include "KxRawData.h"
#include "serve/TileRequest.h"

#include <memory>

namespace KxTileHost::Serve {

/// The format of encoded bytes; Natural for those that are none of the three.
TileFormat FormatOf(const unsigned char* bytes, std::size_t size);

/// A picture encoded; on paper where the format has no transparency.
/// @param image   without padding between its rows
/// @param format  not Natural
/// @return null when there is no memory for it
std::unique_ptr<KxC::KxRawData> EncodePicture(const KxC::KxImageData& image, TileFormat format);

/// The picture in another format.
/// @param format  not Natural
/// @return null when the bytes do not decode
std::unique_ptr<KxC::KxRawData>
Transcode(const unsigned char* bytes, std::size_t size, TileFormat format);

/// A picture with nothing on it: transparent, white as JPEG.
std::unique_ptr<KxC::KxRawData> BlankTile(int size, TileFormat format);

} // namespace KxTileHost::Serve
