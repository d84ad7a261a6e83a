// SPDX-License-Identifier: MIT
#include "DirectoryCache.h"

#include <utility>

namespace KxC {

namespace {

std::size_t BytesOf(const Directory& directory)
{
    constexpr std::size_t kOverhead = 256;
    return directory.capacity() * sizeof(KxPmTilesEntry) + kOverhead;
}

} // namespace

std::shared_ptr<const Directory> DirectoryCache::Find(unsigned long long offset)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto place = m_places.find(offset);
    if (place == m_places.end())
        return nullptr;
    m_items.splice(m_items.begin(), m_items, place->second);
    return m_items.front().m_directory;
}

void DirectoryCache::Keep(unsigned long long offset, std::shared_ptr<const Directory> directory)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    // Two threads may have read it at once.
    if (m_places.contains(offset))
        return;
    m_items.push_front({offset, std::move(directory)});
    m_places.emplace(offset, m_items.begin());
    m_nBytes += BytesOf(*m_items.front().m_directory);
    while (m_nBytes > kMaxBytes && m_items.size() > 1)
        DropLast();
}

void DirectoryCache::DropLast()
{
    m_nBytes -= BytesOf(*m_items.back().m_directory);
    m_places.erase(m_items.back().m_nOffset);
    m_items.pop_back();
}

} // namespace KxC
