// SPDX-License-Identifier: MIT
#pragma once

#include "KxGeFetcher.h"
#include "KxNetGetch.h"
#include "KxTSDParam.h"
#include "TileAddress.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <tuple>

namespace KxC {

/// How a tile's download ended, for the threads that waited for it.
struct FlightOutcome
{
    NetError m_result = NetError_Failure;
    bool m_isStored = false;    ///< in the memory cache, which may have evicted it again
    KxNetRequestInfo m_request; ///< of a failure: what happened to the request
    KxGeFetchInfo m_earthFetch; ///< the same of a source of earth imagery
};

/// The tiles that are on their way from a miss in the memory cache into that cache: whoever else
/// misses one of them waits for it, so that a service is asked once. No lock is held while a tile
/// is on its way. A thread has one flight at a time and waits for none while it has: nobody waits
/// for himself. Any thread.
class TileFlights
{
    struct Flight;

public:
    /// A flight's name: the record, whose agent and header lines decide how it ends, level, row,
    /// column, and the request parameter.
    using Key = std::tuple<const KxTSDParamItem*, int, int, int, int>;

    /// How many flights have landed. What missed the cache after this was read, and finds it
    /// unchanged when its own flight begins, would still miss.
    unsigned long long CountLanded() const { return m_landed.load(std::memory_order_acquire); }

    /// How many threads wait for a tile; for tests that need them to.
    int WaitersFor(const Key& key);

    /// A thread's part in the flight of one tile: the one who flies, or one who waits. However the
    /// one who flies ends, his going lands the flight, as a failure where he told no outcome.
    class Seat
    {
    public:
        Seat(TileFlights& flights, const Key& key);
        ~Seat();
        Seat(const Seat&) = delete;
        Seat& operator=(const Seat&) = delete;

        bool IsPilot() const { return m_isPilot; }
        /// For the pilot: whether no flight has landed from `landed` until this one began.
        bool IsNextAfter(unsigned long long landed) const { return m_landedBefore == landed; }
        /// For the pilot, once: ends the flight.
        void Land(FlightOutcome outcome);
        /// For the others. The outcome lives as long as the seat.
        const FlightOutcome& Wait();

    private:
        TileFlights& m_flights;
        Key m_key;
        std::shared_ptr<Flight> m_flight;
        unsigned long long m_landedBefore = 0;
        bool m_isPilot = false;
    };

private:
    std::mutex m_lock; ///< guards the flights, their content too
    std::map<Key, std::shared_ptr<Flight>> m_flights;
    std::atomic<unsigned long long> m_landed{0};
};

/// Those of the process.
TileFlights& SharedTileFlights();

} // namespace KxC
