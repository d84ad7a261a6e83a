// SPDX-License-Identifier: MIT
// Why a reader without a lock never touches a destroyed entry: it pins what it found in a place and
// then looks into that place again. An entry is taken out of every place first, and destroyed only
// after a look at all pins. These four are sequentially consistent: either the second look into the
// place sees that the entry has gone, or the look at the pins sees the pin.
#include "TileTable.h"

#include "ThreadTilePins.h"

#include <utility>

namespace KxC {

namespace {

constexpr std::size_t kFirstPlaces = 1024;

/// Joins two 32-bit halves.
std::uint64_t Joined(std::uint32_t high, std::uint32_t low)
{
    return (static_cast<std::uint64_t>(high) << 32U) | low;
}

} // namespace

std::uint64_t HashOf(const TileAddress& address) noexcept
{
    // Neighbouring tiles differ in few low bits: multiplying by large odd numbers and folding the
    // high half down spreads them over the places.
    const std::uint64_t place = Joined(static_cast<std::uint32_t>(address.m_nRow),
                                       static_cast<std::uint32_t>(address.m_nCol));
    const std::uint64_t layer =
        Joined(address.m_nCache, static_cast<std::uint32_t>(address.m_nLevel));
    std::uint64_t mixed = place * 0x9E3779B97F4A7C15U;
    mixed = (mixed ^ (mixed >> 32U) ^ layer) * 0xD6E8FEB86659FD93U;
    mixed ^= mixed >> 32U;
    return mixed == 0 ? 1 : mixed;
}

TileTable::TileTable()
{
    m_all.push_back(std::make_unique<Places>(kFirstPlaces));
    m_current = m_all.back().get();
}

TileEntry* TileTable::FindAndPin(const TileAddress& address,
                                 std::uint64_t hash,
                                 ThreadTilePins& pins) const noexcept
{
    const Places& places = *m_current.load(std::memory_order_acquire);
    for (std::uint64_t i = 0; i <= places.m_nMask; ++i) {
        const Place& place = places.At(hash + i);
        const std::uint64_t found = place.m_hash.load(std::memory_order_acquire);
        if (found == 0)
            return nullptr;
        if (found != hash)
            continue;
        TileEntry* const entry = place.m_entry.load();
        if (entry == nullptr)
            return nullptr;
        pins.Pin(entry);
        if (place.m_entry.load() != entry)
            return nullptr; // moved or gone
        // Two addresses with one hash of 64 bits: the lock's way sorts them out.
        return entry->m_address == address ? entry : nullptr;
    }
    return nullptr;
}

TileEntry* TileTable::Find(const TileAddress& address, std::uint64_t hash) const noexcept
{
    return m_current.load()->At(IndexOf(address, hash)).m_entry;
}

void TileTable::Reserve()
{
    const Places& old = *m_current.load();
    if ((m_nEntries + 1) * 2 <= old.m_nMask + 1)
        return;
    m_all.reserve(m_all.size() + 1);
    auto larger = std::make_unique<Places>((old.m_nMask + 1) * 2);
    for (std::uint64_t i = 0; i <= old.m_nMask; ++i) {
        const std::uint64_t hash = old.At(i).m_hash;
        if (hash != 0)
            Set(larger->At(FreeIndex(*larger, hash)), hash, old.At(i).m_entry);
    }
    m_current = larger.get();
    m_all.push_back(std::move(larger));
    for (std::uint64_t i = 0; i <= old.m_nMask; ++i)
        Set(old.At(i), 0, nullptr);
}

TileEntry* TileTable::Put(TileEntry& entry) noexcept
{
    Place& place = m_current.load()->At(IndexOf(entry.m_address, entry.m_hash));
    TileEntry* const replaced = place.m_entry;
    m_nEntries += replaced == nullptr ? 1 : 0;
    Set(place, entry.m_hash, &entry);
    return replaced;
}

void TileTable::Remove(const TileEntry& entry) noexcept
{
    const Places& places = *m_current.load();
    std::uint64_t hole = IndexOf(entry.m_address, entry.m_hash);
    --m_nEntries;
    // What follows moves up where the hole would cut it off from where its search begins.
    for (std::uint64_t next = hole + 1; places.At(next).m_hash != 0; ++next) {
        const std::uint64_t hash = places.At(next).m_hash;
        const std::uint64_t fromHome = (next - hash) & places.m_nMask;
        const std::uint64_t fromHole = (next - hole) & places.m_nMask;
        if (fromHome < fromHole)
            continue;
        Set(places.At(hole), hash, places.At(next).m_entry);
        hole = next;
    }
    Set(places.At(hole), 0, nullptr);
}

void TileTable::Set(Place& place, std::uint64_t hash, TileEntry* entry) noexcept
{
    place.m_entry = entry;
    place.m_hash = hash;
}

std::uint64_t TileTable::FreeIndex(const Places& places, std::uint64_t hash) noexcept
{
    std::uint64_t index = hash;
    while (places.At(index).m_hash != 0)
        ++index;
    return index;
}

/// Where the address stands, else the free place where it would.
std::uint64_t TileTable::IndexOf(const TileAddress& address, std::uint64_t hash) const noexcept
{
    const Places& places = *m_current.load();
    std::uint64_t index = hash;
    for (; places.At(index).m_hash != 0; ++index)
        if (places.At(index).m_hash == hash &&
            places.At(index).m_entry.load()->m_address == address)
            break;
    return index;
}

} // namespace KxC
