// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"
#include "KxRawData.h"

#include <string>

namespace KxTileHost {

/// Where a tile goes and what it became there.
struct WrittenTile
{
    std::string m_path;   ///< "-" for standard output
    std::string m_format; ///< extension without dot
    int m_width;          ///< pixels
    int m_height;         ///< pixels
    unsigned int m_bytes;
};

/// Writes a tile: its own bytes, or, where the path's extension names another format, the picture
/// encoded anew. "-" is standard output. A file appears under its name only when whole.
/// @throws CommandError when it cannot be written, or the extension is no picture format
WrittenTile WriteTile(const KxC::KxRawData& bytes, const std::string& path);

/// Writes a text, "-" to standard output. A file appears under its name only when whole.
/// @throws CommandError when it cannot be written
void WriteText(const std::string& text, const std::string& path);

/// Refuses a path whose extension no picture can be written with, before anything is fetched.
/// @throws CommandError (wrong usage)
void CheckOutputFormat(const std::string& path);

/// Refuses an output that is the file that it is made from, under whatever name.
/// @throws CommandError (wrong usage)
void CheckNotItsSource(const std::string& path, const std::string& source);

/// Writes a picture in the format of the path's extension.
/// @throws CommandError as WriteTile
void WritePicture(const KxC::KxImageData& image, const std::string& path);

} // namespace KxTileHost
