// SPDX-License-Identifier: MIT
#include "KxRasterAccessorManager.h"

#include "KxFile.h"
#include "KxPlugin.h"

#include <exception>
#include <mutex>

namespace KxC {

KxRasterAccessorManager::KxRasterAccessorManager() : m_mutex(false) {}

KxRasterAccessorManager::~KxRasterAccessorManager()
{
    const std::lock_guard<KxMutex> lock(m_mutex);
    m_listAccessors.clear();
}

KxRasterDataAccessor* KxRasterAccessorManager::OpenDataAccessor(const KxString& dataPath)
try {
    const std::lock_guard<KxMutex> lock(m_mutex);
    for (const auto& accessor : m_listAccessors)
        if (accessor->GetDataPath().CompareNoCase(dataPath) == 0)
            return accessor.get();
    return OpenNew(dataPath);
} catch (const std::exception&) {
    return nullptr; // the next call tries anew
}

KxRasterDataAccessor* KxRasterAccessorManager::OpenNew(const KxString& dataPath)
{
    // Every plug-in of this kind makes raster accessors: the kind is the promise.
    std::unique_ptr<KxRasterDataAccessor> accessor(static_cast<KxRasterDataAccessor*>(
        m_gPluginManager.FindPluginByExt("AccessorPlugin", KxFile::GetExt(dataPath))));
    if (accessor == nullptr || accessor->IsAvailable() == 0 || accessor->Open(dataPath) == 0)
        return nullptr;
    m_listAccessors.push_back(std::move(accessor));
    return m_listAccessors.back().get();
}

} // namespace KxC
