// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

namespace KxC {

/// Its destruction gives back what projection support holds in the process beside the objects that
/// hosts own: the tile library keeps one, built before its registries, so that this happens at
/// unload, after every transform is gone.
/// The common library links no projection library: a plug-in that wraps one says here how to
/// release what it keeps. Any thread.
class KXCOMMON_API KxProjManagerCleaner
{
public:
    /// Calls every function of AddRelease, the last one added first. They stay registered: a
    /// library that is loaded again ends again.
    ~KxProjManagerCleaner();

    /// Registers a function that gives back what can be made again on demand. It must not throw,
    /// must stay loaded for good, as plug-ins do, and may be called several times and while other
    /// threads convert. Adding a function again changes nothing.
    /// @return 1 when it is registered; 0 when it is null or memory is short
    static unsigned char AddRelease(void (*release)());
};

} // namespace KxC
