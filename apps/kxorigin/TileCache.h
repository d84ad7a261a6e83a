// SPDX-License-Identifier: MIT
#pragma once

#include "Encoding.h"
#include "Routes.h"

#include <compare>
#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace KxOrigin {

/// What tells one encoded tile from another.
struct TileKey
{
    PictureKind picture = PictureKind::Marble;
    GridKind grid = GridKind::WebMercator;
    PixelWindow window;
    Format format = Format::Png;

    // The check takes the comparison with 0 that the compiler makes for a null pointer.
    // NOLINTNEXTLINE(modernize-use-nullptr)
    friend auto operator<=>(const TileKey&, const TileKey&) = default;
};

/// The encoded tiles used last, up to a number of bytes. Safe for several threads.
class TileCache
{
public:
    /// @param budget  bytes of encoded tiles; a tile larger than that is not kept
    explicit TileCache(std::size_t budget) : m_budget(budget) {}

    /// @return null when the tile is not here
    std::shared_ptr<const Bytes> Find(const TileKey& key);
    void Keep(const TileKey& key, std::shared_ptr<const Bytes> tile);

private:
    using Entry = std::pair<TileKey, std::shared_ptr<const Bytes>>;

    void DropOldest();

    const std::size_t m_budget;
    std::mutex m_mutex;
    std::size_t m_used = 0;
    std::list<Entry> m_entries; ///< the one used last in front
    std::map<TileKey, std::list<Entry>::iterator> m_index;
};

} // namespace KxOrigin
