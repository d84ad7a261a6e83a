// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

#include <cstddef>

namespace KxC {

/// Paths, folders and the log. Paths are UTF-8; '/' separates. Any thread.
class KXCOMMON_API KxFile
{
public:
    /// The application's cache folder, without a trailing separator. Starts as $KXTILE_CACHE_DIR,
    /// else $XDG_CACHE_HOME/kxtile, else ~/.cache/kxtile. A host may set it before the first use
    /// of a cache or the log.
    static KxString m_strAppCachePath;

    /// Extension of the last component with its dot, empty when it has none.
    static KxString GetExt(const KxString& path);
    /// The path without its last component and the separators before it; empty when it has none,
    /// "/" for what lies in the root. The last component of a path that ends in a separator is
    /// empty.
    static KxString GetDir(const KxString& path);
    /// `relativePath` taken against `baseDir`, with "." and ".." resolved as text and without a
    /// separator at its end; an absolute path stays as it is. An empty base is the current folder.
    static KxString GetFttpAbsolutePath(const KxString& baseDir, const KxString& relativePath);
    /// The path with its extension replaced by `ext`, given without dot; an empty one leaves the
    /// path without extension.
    static KxString ChangeExt(const KxString& path, const KxString& ext);

    /// @return 1 when a file or folder exists at the path
    static unsigned char IsExist(const KxString& path);
    /// Creates the folder and every missing parent.
    /// @return 1 when the folder is there afterwards
    static unsigned char MkDirEx(const KxString& dir);

    /// Writes a file that appears under its name only when whole: under a temporary name in the
    /// same folder, then renamed. Links are followed, an existing file keeps its mode, and what is
    /// no file (a pipe, a device) is written to.
    /// @return 1 on success; else errno says why, and what was under the name is still there
    static unsigned char
    SaveWhole(const KxString& path, const unsigned char* bytes, std::size_t size);

    /// Appends a line (GBK) to <m_strAppCachePath>/kxtile.log; it is on disk when the call
    /// returns, whole, also when several threads and processes write at once. Control characters
    /// in it become blanks, so that it stays one line. A log that cannot be written is passed over.
    static void WriteLogInfo(const KxString& line);
};

} // namespace KxC
