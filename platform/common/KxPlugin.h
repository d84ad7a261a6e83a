// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

#include <memory>

namespace KxC {

/// What a plug-in makes. The order of the virtual operations is part of the plug-in ABI.
class KXCOMMON_API KxPlugin
{
public:
    /// @return nonzero when the object is usable
    virtual unsigned char Initialize() = 0;
    /// @return nonzero when what the plug-in needs at run time is there
    virtual unsigned char IsAvailable() = 0;
    virtual ~KxPlugin();

protected:
    KxPlugin();
    KxPlugin(const KxPlugin&) = delete;
    KxPlugin& operator=(const KxPlugin&) = delete;
};

/// What a plug-in file says of itself. A plug-in is a shared object named "Kx*.so" that exports
/// `extern "C" const KxC::KxPluginDeclaration* KxDeclarePlugin()`.
struct KxPluginDeclaration
{
    static constexpr int kAbi = 1;

    int m_nAbi;                ///< kAbi of the headers it was built with; first, so that it can
                               ///< be read whatever follows
    const char* m_pKind;       ///< "AccessorPlugin"
    const char* m_pExtensions; ///< ".tif .tiff", blank-separated, with their dots
    KxPlugin* (*m_pCreate)();  ///< a new object, owned by the caller; may answer null
};

/// Finds plug-ins in the folders of $KXTILE_PLUGIN_PATH (separated by ':'), or, where that is not
/// set, in the installed plug-in folder. They are loaded on first use and stay loaded.
/// Any thread.
class KXCOMMON_API KxPluginManager
{
public:
    KxPluginManager();
    ~KxPluginManager();
    KxPluginManager(const KxPluginManager&) = delete;
    KxPluginManager& operator=(const KxPluginManager&) = delete;

    /// @param kind  "AccessorPlugin"
    /// @param ext   with its dot, in any case
    /// @return a fresh object owned by the caller; null when no plug-in of the kind takes `ext`
    KxPlugin* FindPluginByExt(const KxString& kind, const KxString& ext);

private:
    struct Registry;
    std::unique_ptr<Registry> m_registry;
};

KXCOMMON_API extern KxPluginManager m_gPluginManager;

} // namespace KxC
