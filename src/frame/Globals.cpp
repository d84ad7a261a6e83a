// SPDX-License-Identifier: MIT
// The library's process-wide objects. They stand in one file because it fixes their order: built
// from top to bottom while the library is loaded, destroyed from bottom to top at unload.
#include "KxCoordSysTrans.h"
#include "KxProjManagerCleaner.h"
#include "KxRasterAccessorManager.h"
#include "KxString.h"
#include "KxTSDParam.h"
#include "KxTileFetcher.h"

namespace KxC {

// Constants, so that the switches read right before anything else is built.
constinit unsigned char KxTileFetcher::m_sbMemCacheUsed = 1;
constinit unsigned char KxTileFetcher::m_sbLocalCacheUsed = 0;

// Destroyed last: the registries' projection objects are gone by then.
const KxProjManagerCleaner g_projCleaner;

// Stands before the registries and outlives them; no operation reads it.
const KxString g_strModule("");

KxCoordSysTransManager m_gCoordSysTransManager;
KxTSDParamManager m_gTSDParamManager;
// Destroyed first, while the transforms are still there.
KxRasterAccessorManager m_gRasterAccessorManager;

} // namespace KxC
