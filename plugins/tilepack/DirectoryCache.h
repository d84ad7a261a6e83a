// SPDX-License-Identifier: MIT
#pragma once

#include "KxPmTiles.h"

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace KxC {

using Directory = std::vector<KxPmTilesEntry>;

/// The directories that were used last, by their offset. Any thread.
class DirectoryCache
{
public:
    /// Bytes of memory kept at most.
    static constexpr std::size_t kMaxBytes = 32U << 20;

    /// @return null when it is not here
    std::shared_ptr<const Directory> Find(unsigned long long offset);
    void Keep(unsigned long long offset, std::shared_ptr<const Directory> directory);

private:
    struct Item
    {
        unsigned long long m_nOffset;
        std::shared_ptr<const Directory> m_directory;
    };
    using Items = std::list<Item>;

    void DropLast();

    std::mutex m_mutex;
    Items m_items; ///< the last used first
    std::unordered_map<unsigned long long, Items::iterator> m_places;
    std::size_t m_nBytes = 0;
};

} // namespace KxC
