// SPDX-License-Identifier: MIT
#pragma once

#include "KxMutex.h"
#include "KxRasterDataAccessor.h"
#include "KxString.h"
#include "KxTileExport.h"

#include <list>
#include <memory>

namespace KxC {

/// Owns the open rasters of the process, one accessor for each path. They stay open until the
/// registry is destroyed, so that the pointers it hands out stay valid. Any thread.
class KXTILE_API KxRasterAccessorManager
{
public:
    KxRasterAccessorManager();
    ~KxRasterAccessorManager();
    KxRasterAccessorManager(const KxRasterAccessorManager&) = delete;
    KxRasterAccessorManager& operator=(const KxRasterAccessorManager&) = delete;

    /// The open raster of a path, opened on first use by the reader plug-in that takes its
    /// extension. The path is the key as it stands, without regard to case.
    /// @return owned by the registry; null when no plug-in takes the file or it cannot be opened,
    ///         and the next call then tries anew
    KxRasterDataAccessor* OpenDataAccessor(const KxString& dataPath);

private:
    KxRasterDataAccessor* OpenNew(const KxString& dataPath);

    std::list<std::unique_ptr<KxRasterDataAccessor>> m_listAccessors;
    KxMutex m_mutex;
};

KXTILE_API extern KxRasterAccessorManager m_gRasterAccessorManager;

} // namespace KxC
