// SPDX-License-Identifier: MIT
#include "TileCacheNames.h"

#include <functional>
#include <utility>

namespace KxC {

namespace {

constexpr std::size_t kFirstPlaces = 64;

std::size_t HashOfName(std::string_view name)
{
    return std::hash<std::string_view>()(name);
}

} // namespace

TileCacheNames::TileCacheNames()
{
    m_tables.push_back(std::make_unique<Table>(kFirstPlaces));
    m_current = m_tables.back().get();
}

TileCacheNames::~TileCacheNames() = default;

KxWMTileDataCache* TileCacheNames::Find(std::string_view name) const noexcept
{
    const std::size_t hash = HashOfName(name);
    const Table& table = *m_current.load(std::memory_order_acquire);
    for (std::size_t i = hash;; ++i) {
        const Named* const named = table[i % table.size()].load(std::memory_order_acquire);
        if (named == nullptr)
            return nullptr;
        if (named->m_hash == hash && named->m_name == name)
            return named->m_cache.get();
    }
}

void TileCacheNames::Reserve()
{
    const Table& old = *m_current.load();
    if ((m_named.size() + 1) * 2 <= old.size())
        return;
    m_tables.reserve(m_tables.size() + 1);
    auto larger = std::make_unique<Table>(old.size() * 2);
    for (const std::unique_ptr<Named>& named : m_named)
        Put(*larger, *named);
    m_current.store(larger.get(), std::memory_order_release);
    m_tables.push_back(std::move(larger));
}

void TileCacheNames::Put(Table& table, const Named& named) noexcept
{
    std::size_t i = named.m_hash;
    while (table[i % table.size()].load(std::memory_order_relaxed) != nullptr)
        ++i;
    table[i % table.size()].store(&named, std::memory_order_release);
}

KxWMTileDataCache* TileCacheNames::Add(std::string_view name,
                                       std::unique_ptr<KxWMTileDataCache> cache)
{
    Reserve();
    m_named.push_back(
        std::make_unique<Named>(Named{std::string(name), HashOfName(name), std::move(cache)}));
    Put(*m_tables.back(), *m_named.back());
    return m_named.back()->m_cache.get();
}

} // namespace KxC
