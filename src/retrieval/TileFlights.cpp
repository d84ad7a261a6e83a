// SPDX-License-Identifier: MIT
#include "TileFlights.h"

#include <condition_variable>
#include <utility>

namespace KxC {

/// Those who wait hold it too, so it outlives its place in the table.
struct TileFlights::Flight
{
    std::condition_variable landed;
    int waiters = 0;
    bool hasLanded = false;
    FlightOutcome outcome; ///< nobody writes it once the flight has landed
};

TileFlights::Seat::Seat(TileFlights& flights, const Key& key) : m_flights(flights), m_key(key)
{
    auto flight = std::make_shared<Flight>();
    const std::lock_guard lock(flights.m_lock);
    const auto [entry, isNew] = flights.m_flights.try_emplace(key, std::move(flight));
    m_flight = entry->second;
    m_isPilot = isNew;
    m_landedBefore = flights.CountLanded();
}

TileFlights::Seat::~Seat()
{
    if (m_isPilot)
        Land({});
}

void TileFlights::Seat::Land(FlightOutcome outcome)
{
    const std::lock_guard lock(m_flights.m_lock);
    if (m_flight->hasLanded)
        return;
    // Counted before the next flight of this tile can begin.
    m_flights.m_landed.fetch_add(1, std::memory_order_release);
    m_flights.m_flights.erase(m_key);
    m_flight->outcome = std::move(outcome);
    m_flight->hasLanded = true;
    m_flight->landed.notify_all();
}

const FlightOutcome& TileFlights::Seat::Wait()
{
    std::unique_lock lock(m_flights.m_lock);
    ++m_flight->waiters;
    m_flight->landed.wait(lock, [this] { return m_flight->hasLanded; });
    --m_flight->waiters;
    return m_flight->outcome;
}

int TileFlights::WaitersFor(const Key& key)
{
    const std::lock_guard lock(m_lock);
    const auto entry = m_flights.find(key);
    return entry == m_flights.end() ? 0 : entry->second->waiters;
}

TileFlights& SharedTileFlights()
{
    // Never destroyed: a thread may still be fetching while the process ends.
    static TileFlights* const flights = new TileFlights;
    return *flights;
}

} // namespace KxC
