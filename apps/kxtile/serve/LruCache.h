// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <list>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace KxTileHost::Serve {

/// Values within a budget of bytes; the least recently used leave first. Any thread.
/// Values are copied out, so they should be cheap to copy, such as shared pointers.
template <typename Key, typename Value, typename Hash>
class LruCache
{
public:
    /// @param budget  bytes; 0 keeps nothing
    explicit LruCache(std::size_t budget) : m_budget(budget) {}

    /// The value, or an empty one.
    Value Find(const Key& key)
    {
        const std::lock_guard guard(m_lock);
        const auto found = m_places.find(key);
        if (found == m_places.end())
            return Value();
        m_order.splice(m_order.begin(), m_order, found->second);
        return found->second->m_value;
    }

    /// Takes a value in place of the one that the key had. One beyond the budget is not kept.
    void Put(const Key& key, Value value, std::size_t bytes)
    {
        Order gone; // dropped after the lock is released
        const std::lock_guard guard(m_lock);
        if (const auto found = m_places.find(key); found != m_places.end())
            Drop(found->second, gone);
        if (bytes > m_budget)
            return;
        m_order.push_front({key, std::move(value), bytes});
        try {
            m_places.emplace(key, m_order.begin());
        } catch (...) {
            m_order.pop_front();
            throw;
        }
        m_bytes += bytes;
        while (m_bytes > m_budget)
            Drop(std::prev(m_order.end()), gone);
    }

    std::size_t Bytes() const
    {
        const std::lock_guard guard(m_lock);
        return m_bytes;
    }

    std::size_t Count() const
    {
        const std::lock_guard guard(m_lock);
        return m_order.size();
    }

private:
    struct Entry
    {
        Key m_key;
        Value m_value;
        std::size_t m_bytes;
    };
    using Order = std::list<Entry>;

    void Drop(typename Order::iterator entry, Order& gone)
    {
        m_bytes -= entry->m_bytes;
        m_places.erase(entry->m_key);
        gone.splice(gone.end(), m_order, entry);
    }

    const std::size_t m_budget;
    mutable std::mutex m_lock;
    std::size_t m_bytes = 0;
    Order m_order; ///< the last one used in front
    std::unordered_map<Key, typename Order::iterator, Hash> m_places;
};

} // namespace KxTileHost::Serve
