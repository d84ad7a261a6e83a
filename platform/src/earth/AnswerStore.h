// SPDX-License-Identifier: MIT
#pragma once

#include "DbRoot.h"
#include "QuadPacket.h"

#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace KxC::Earth {

/// Answers by URL, the least recently used dropped beyond a budget. A URL names a version, so that
/// what it answered stays true; that it answered nothing is an answer, too. Values are shared
/// pointers: what is in use stays alive when it is dropped.
/// Threads: any; nothing waits for longer than a look-up.
template <typename Value>
class AnswerStore
{
public:
    using Shared = std::shared_ptr<const Value>; ///< null where the server has none

    explicit AnswerStore(std::size_t budgetBytes) : m_budget(budgetBytes) {}

    /// @return nothing when the answer was not stored; null when the server has none
    std::optional<Shared> Find(const std::string& url)
    {
        const std::lock_guard guard(m_lock);
        const auto place = m_places.find(url);
        if (place == m_places.end())
            return {};
        m_entries.splice(m_entries.begin(), m_entries, place->second);
        return place->second->m_value;
    }

    /// @param valueBytes  the memory that it takes
    void Put(const std::string& url, Shared value, std::size_t valueBytes)
    {
        const std::size_t bytes = kEntryBytes + 2 * url.size() + valueBytes;
        const std::lock_guard guard(m_lock);
        // Another thread may have fetched the same meanwhile.
        if (bytes > m_budget || m_places.count(url) > 0)
            return;
        m_entries.push_front({url, std::move(value), bytes});
        try {
            m_places.emplace(url, m_entries.begin());
        } catch (...) {
            m_entries.pop_front();
            throw;
        }
        m_bytes += bytes;
        while (m_bytes > m_budget)
            DropOldest();
    }

    void Clear()
    {
        const std::lock_guard guard(m_lock);
        m_places.clear();
        m_entries.clear();
        m_bytes = 0;
    }

    std::size_t Count() const
    {
        const std::lock_guard guard(m_lock);
        return m_entries.size();
    }

private:
    /// What an entry takes besides URL (twice) and value, about.
    static constexpr std::size_t kEntryBytes = 160;

    struct Entry
    {
        std::string m_url;
        Shared m_value;
        std::size_t m_bytes;
    };

    void DropOldest()
    {
        m_bytes -= m_entries.back().m_bytes;
        m_places.erase(m_entries.back().m_url);
        m_entries.pop_back();
    }

    mutable std::mutex m_lock;  ///< guards everything below
    std::list<Entry> m_entries; ///< most recently used first
    std::unordered_map<std::string, typename std::list<Entry>::iterator> m_places;
    std::size_t m_bytes = 0;
    std::size_t m_budget;
};

using PacketStore = AnswerStore<QuadPacket>;
using SharedPacket = PacketStore::Shared;
using ImageStore = AnswerStore<std::vector<unsigned char>>;
using SharedRoot = std::shared_ptr<const DbRoot>;

/// dbRoots by URL. There are a few in a process's life; beyond that the store begins anew.
/// Threads: any.
class RootStore
{
public:
    /// @return null when it was not stored
    SharedRoot Find(const std::string& url);
    void Put(const std::string& url, SharedRoot root);
    void Clear();

private:
    std::mutex m_lock; ///< guards what follows
    std::unordered_map<std::string, SharedRoot> m_roots;
};

} // namespace KxC::Earth
