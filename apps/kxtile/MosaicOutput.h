// SPDX-License-Identifier: MIT
/// The files that a mosaic becomes.
#pragma once

#include <string>

namespace KxTileHost {

bool IsTiff(const std::string& path);

/// The world file of a picture: its extension is the first and the last letter of the picture's,
/// and a w.
std::string WorldFilePath(const std::string& picture);
std::string PrjPath(const std::string& picture);

/// Refuses a picture's path that says no format, or one that is not written.
/// @throws CommandError (wrong usage)
void CheckNamesFormat(const std::string& path);

/// Refuses pictures that their format cannot hold: JPEG has at most 65500 pixels a side, WebP
/// 16383.
/// @param width, height  pixels
/// @throws CommandError (wrong usage)
void CheckFormatHolds(const std::string& path, int width, int height);

/// Refuses a path in whose folder nothing can be written.
/// @throws CommandError
void CheckFolder(const std::string& path);

/// A file beside another until it takes a name. Gone with the object, unless it did.
class TemporaryFile
{
public:
    /// A name beside `path`, with its extension, and one of those that UnfinishedFiles knows.
    explicit TemporaryFile(const std::string& path);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& Path() const { return m_path; }
    bool IsThere() const;
    /// @throws CommandError
    void RenameTo(const std::string& path) const;

private:
    std::string m_path;
};

} // namespace KxTileHost
