// SPDX-License-Identifier: MIT
#include "TileShard.h"

#include <chrono>
#include <limits>
#include <utility>

namespace KxC {

namespace {

/// The moment as a number that only grows. A counter shared by all shards would do as well but its
/// memory would travel between the processors with every hit.
std::uint64_t Now()
{
    return static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
}

/// Joins two 32-bit halves.
std::uint64_t Joined(std::uint32_t high, std::uint32_t low)
{
    return (static_cast<std::uint64_t>(high) << 32U) | low;
}

} // namespace

std::size_t TileAddressHash::operator()(const TileAddress& address) const noexcept
{
    // Neighbouring tiles differ in few low bits: multiplying by large odd numbers and folding the
    // high half down spreads them over the shards and the buckets.
    const std::uint64_t place = Joined(static_cast<std::uint32_t>(address.m_nRow),
                                       static_cast<std::uint32_t>(address.m_nCol));
    const std::uint64_t layer =
        Joined(address.m_nCache, static_cast<std::uint32_t>(address.m_nLevel));
    std::uint64_t mixed = place * 0x9E3779B97F4A7C15U;
    mixed = (mixed ^ (mixed >> 32U) ^ layer) * 0xD6E8FEB86659FD93U;
    return static_cast<std::size_t>(mixed ^ (mixed >> 32U));
}

TileShard::TileShard() : m_ends{&m_ends, &m_ends} {}

TileShard::~TileShard() = default;

std::shared_ptr<KxWMTileData> TileShard::Find(const TileAddress& address)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto found = m_entries.find(address);
    if (found == m_entries.end()) {
        ++m_nMisses;
        return nullptr;
    }
    ++m_nHits;
    Touch(found->second);
    return found->second.m_tile;
}

std::ptrdiff_t
TileShard::Put(const TileAddress& address, std::shared_ptr<KxWMTileData> tile, std::size_t bytes)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto [place, isNew] = m_entries.try_emplace(address);
    Entry& entry = place->second;
    if (isNew) {
        entry.m_address = address;
        LinkNewest(entry);
    }
    Touch(entry);
    // The replaced tile leaves with the parameter, whose life ends after the lock's.
    entry.m_tile.swap(tile);
    const std::size_t before = std::exchange(entry.m_nBytes, bytes);
    m_nBytes += bytes - before;
    return static_cast<std::ptrdiff_t>(bytes) - static_cast<std::ptrdiff_t>(before);
}

std::size_t TileShard::Remove(const TileAddress& address)
{
    Map::node_type gone;
    const std::lock_guard<std::mutex> guard(m_lock);
    gone = Take(address);
    return gone.empty() ? 0 : gone.mapped().m_nBytes;
}

std::size_t TileShard::RemoveOldest()
{
    Map::node_type gone;
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_entries.empty())
        return 0;
    gone = Take(static_cast<Entry*>(m_ends.m_pNewer)->m_address);
    return gone.mapped().m_nBytes;
}

std::size_t TileShard::Clear()
{
    Map gone;
    const std::lock_guard<std::mutex> guard(m_lock);
    gone.swap(m_entries);
    m_ends = Link{&m_ends, &m_ends};
    return std::exchange(m_nBytes, 0);
}

std::uint64_t TileShard::GetOldestUse() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_entries.empty() ? std::numeric_limits<std::uint64_t>::max()
                             : static_cast<const Entry*>(m_ends.m_pNewer)->m_nUse;
}

void TileShard::AddStatistics(KxWMTileDataCacheStatistics& sum) const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    sum.m_nHits += m_nHits;
    sum.m_nMisses += m_nMisses;
    sum.m_nTiles += m_entries.size();
    sum.m_nBytes += m_nBytes;
}

void TileShard::Unlink(Link& link)
{
    link.m_pNewer->m_pOlder = link.m_pOlder;
    link.m_pOlder->m_pNewer = link.m_pNewer;
}

void TileShard::LinkNewest(Link& link)
{
    link.m_pNewer = &m_ends;
    link.m_pOlder = m_ends.m_pOlder;
    m_ends.m_pOlder->m_pNewer = &link;
    m_ends.m_pOlder = &link;
}

void TileShard::Touch(Entry& entry)
{
    entry.m_nUse = Now();
    Unlink(entry);
    LinkNewest(entry);
}

TileShard::Map::node_type TileShard::Take(const TileAddress& address)
{
    Map::node_type node = m_entries.extract(address);
    if (!node.empty()) {
        Unlink(node.mapped());
        m_nBytes -= node.mapped().m_nBytes;
    }
    return node;
}

} // namespace KxC
