// SPDX-License-Identifier: MIT
#include "KxTSDParam.h"
#include "SourceTexts.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace KxC {

KxTSDParamManager::KxTSDParamManager() : m_mutex(false) {}

KxTSDParamManager::~KxTSDParamManager()
{
    const std::lock_guard<KxMutex> lock(m_mutex);
    m_listItems.clear();
}

KxTSDParamItem* KxTSDParamManager::Find(const KxString& key) const
{
    const auto found = std::find_if(m_listItems.begin(), m_listItems.end(), [&](const auto& item) {
        return item->m_strKey.CompareNoCase(key) == 0;
    });
    return found == m_listItems.end() ? nullptr : found->get();
}

// Both lookups load under the lock, so that threads asking at once for a new source share one.

KxTSDParamItem* KxTSDParamManager::GetTSDParam(const KxString& path)
{
    const std::lock_guard<KxMutex> lock(m_mutex);
    if (KxTSDParamItem* known = Find(path))
        return known;
    auto item = std::make_unique<KxTSDParamItem>();
    item->m_strKey = path;
    item->LoadFromTSDFile(path);
    m_listItems.push_back(std::move(item));
    return m_listItems.back().get();
}

KxTSDParamItem* KxTSDParamManager::GetTSDParam(const KxString& urlTemplate,
                                               const KxString& serverParts,
                                               int tileScheme,
                                               int datum,
                                               int southToNorth,
                                               int levelOffset,
                                               int tileSize,
                                               const KxString& imageFormat,
                                               unsigned char historyDataUsed,
                                               const KxTime& historyTime)
{
    const std::lock_guard<KxMutex> lock(m_mutex);
    const KxString key = SourceKey(urlTemplate, historyDataUsed, historyTime);
    if (KxTSDParamItem* known = Find(key))
        return known;
    auto item = std::make_unique<KxTSDParamItem>();
    item->m_strKey = key;
    item->LoadFromParam(urlTemplate,
                        serverParts,
                        tileScheme,
                        datum,
                        southToNorth,
                        levelOffset,
                        tileSize,
                        imageFormat,
                        historyDataUsed,
                        historyTime);
    m_listItems.push_back(std::move(item));
    return m_listItems.back().get();
}

} // namespace KxC
