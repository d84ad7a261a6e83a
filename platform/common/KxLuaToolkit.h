// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

#include <memory>

namespace KxC {

/// Runs a tile source's URL script: Lua 5.4 text that defines `GetTileURL(level, row, col)` and
/// returns the URL as a string. Scripts are untrusted: no files, no system, no binary chunks, and
/// bounds on steps, time and memory that no script can catch or step around.
/// Any thread may use one object; calls are made one at a time.
class KXCOMMON_API KxLuaToolkit
{
public:
    KxLuaToolkit();
    ~KxLuaToolkit();
    KxLuaToolkit(const KxLuaToolkit&) = delete;
    KxLuaToolkit& operator=(const KxLuaToolkit&) = delete;

    /// Loads and runs a script file of at most 1 MiB, in place of what was loaded before.
    /// @return 1 on success
    unsigned char LoadFile(const KxString& path);
    /// The same for a script's text.
    unsigned char LoadFromString(const KxString& script);

    /// Runs the script for one tile.
    /// @return the URL; empty when there is no script, or it fails, exceeds a bound, or returns
    ///         anything but a string of at most 8 KiB
    KxString GetTileURL(int level, int row, int col);

    /// Why the calling thread's last call of any of the three failed; empty when it did not.
    static const KxString& GetLastError();

private:
    class Host;
    std::unique_ptr<Host> m_host;
};

} // namespace KxC
