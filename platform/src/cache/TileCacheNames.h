// SPDX-License-Identifier: MIT
#pragma once

#include "KxWMTileDataCache.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace KxC {

/// The caches of a manager by name. Names come and never go, so that they are found without a lock.
/// Any thread.
class TileCacheNames
{
public:
    TileCacheNames();
    ~TileCacheNames();
    TileCacheNames(const TileCacheNames&) = delete;
    TileCacheNames& operator=(const TileCacheNames&) = delete;

    /// @return null when there is none of that name
    KxWMTileDataCache* Find(std::string_view name) const noexcept;
    /// The cache of that name; where there is none, `make(number)`, a std::unique_ptr, becomes it.
    /// Throws std::bad_alloc.
    template <typename Make>
    KxWMTileDataCache* FindOrAdd(std::string_view name, Make&& make);

private:
    struct Named
    {
        std::string m_name;
        std::size_t m_hash;
        std::unique_ptr<KxWMTileDataCache> m_cache;
    };
    /// A table of open addressing, at most half full.
    using Table = std::vector<std::atomic<const Named*>>;

    void Reserve();
    static void Put(Table& table, const Named& named) noexcept;
    KxWMTileDataCache* Add(std::string_view name, std::unique_ptr<KxWMTileDataCache> cache);

    std::mutex m_adding;
    std::vector<std::unique_ptr<Named>> m_named;
    /// Outgrown tables stay: threads may still be reading in them.
    std::vector<std::unique_ptr<Table>> m_tables;
    std::atomic<const Table*> m_current;
};

template <typename Make>
KxWMTileDataCache* TileCacheNames::FindOrAdd(std::string_view name, Make&& make)
{
    if (KxWMTileDataCache* const found = Find(name))
        return found;
    const std::lock_guard<std::mutex> guard(m_adding);
    if (KxWMTileDataCache* const found = Find(name))
        return found;
    return Add(name, make(static_cast<unsigned int>(m_named.size())));
}

} // namespace KxC
