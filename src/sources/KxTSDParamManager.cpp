// SPDX-License-Identifier: MIT
#include "KxTSDParam.h"
#include "SourceTexts.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace KxC {

namespace {

/// The first record of a key, null when there is none.
KxTSDParamItem* FindByKey(const std::list<std::unique_ptr<KxTSDParamItem>>& items,
                          const KxString& key)
{
    const auto found = std::find_if(items.begin(), items.end(), [&](const auto& item) {
        return item->m_strKey.CompareNoCase(key) == 0;
    });
    return found == items.end() ? nullptr : found->get();
}

} // namespace

KxTSDParamManager::KxTSDParamManager() : m_mutex(false) {}

KxTSDParamManager::~KxTSDParamManager()
{
    const std::lock_guard<KxMutex> lock(m_mutex);
    m_listItems.clear();
}

// Both lookups load under the lock, so that threads asking at once for a new source share one.

KxTSDParamItem* KxTSDParamManager::GetTSDParam(const KxString& path)
{
    const std::lock_guard<KxMutex> lock(m_mutex);
    if (KxTSDParamItem* known = FindByKey(m_listItems, path))
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
    if (KxTSDParamItem* known = FindByKey(m_listItems, key))
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
