// SPDX-License-Identifier: MIT
#include "TileCache.h"

namespace KxOrigin {

std::shared_ptr<const Bytes> TileCache::Find(const TileKey& key)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_index.find(key);
    if (found == m_index.end())
        return nullptr;
    m_entries.splice(m_entries.begin(), m_entries, found->second);
    return found->second->second;
}

void TileCache::Keep(const TileKey& key, std::shared_ptr<const Bytes> tile)
{
    const std::lock_guard lock(m_mutex);
    // Two threads may have drawn the same tile at once.
    if (tile->size() > m_budget || m_index.contains(key))
        return;
    m_used += tile->size();
    m_entries.emplace_front(key, std::move(tile));
    m_index.emplace(key, m_entries.begin());
    while (m_used > m_budget)
        DropOldest();
}

void TileCache::DropOldest()
{
    m_used -= m_entries.back().second->size();
    m_index.erase(m_entries.back().first);
    m_entries.pop_back();
}

} // namespace KxOrigin
