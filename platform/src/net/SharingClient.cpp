// SPDX-License-Identifier: MIT
#include "SharingClient.h"

#include <condition_variable>
#include <utility>

namespace KxC::Http {

namespace {

/// Texts of a checked request hold no line end: it separates them safely.
std::string KeyOf(const HttpRequest& request)
{
    std::string key = std::to_string(request.timeout.count());
    key += '\n' + request.url + '\n' + request.userAgent;
    for (const std::string& line : request.headerLines)
        key += '\n' + line;
    return key;
}

HttpAnswer LateAnswer(const HttpRequest& request)
{
    HttpAnswer answer;
    answer.cause = "time-out of " + std::to_string(request.timeout.count()) +
                   " ms reached while the same request was under way on another thread; allow "
                   "more time or try later";
    return answer;
}

HttpAnswer LostAnswer()
{
    HttpAnswer answer;
    answer.cause = "the same request, under way on another thread, was given up";
    return answer;
}

} // namespace

/// A request under way. Waiters hold it too, so it outlives its place in the table.
struct SharingClient::Flight
{
    std::condition_variable landed;
    int waiters = 0;
    bool hasLanded = false;
    bool hasAnswer = false;
    HttpAnswer answer;
};

/// Whoever sends. However he ends, his going lands the flight, so that nobody waits for ever.
class SharingClient::Sender
{
public:
    Sender(SharingClient& client, Flights::iterator entry)
        : m_client(client), m_entry(entry), m_flight(entry->second)
    {
    }
    ~Sender() { Land(nullptr); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    HttpAnswer Send(const HttpRequest& request)
    {
        HttpAnswer answer = m_client.m_inner.Send(request);
        if (TakeOff() == 0)
            return answer;
        HttpAnswer copy = answer.Copy();
        Land(&copy);
        return answer;
    }

private:
    /// Lets nobody else join. @return how many wait
    int TakeOff()
    {
        const std::lock_guard lock(m_client.m_lock);
        RemoveFromTable();
        return m_flight->waiters;
    }

    void RemoveFromTable()
    {
        if (std::exchange(m_isInTable, false))
            m_client.m_flights.erase(m_entry);
    }

    void Land(HttpAnswer* answer)
    {
        const std::lock_guard lock(m_client.m_lock);
        RemoveFromTable();
        if (std::exchange(m_flight->hasLanded, true))
            return;
        m_flight->hasAnswer = answer != nullptr;
        if (answer != nullptr)
            m_flight->answer = std::move(*answer);
        m_flight->landed.notify_all();
    }

    SharingClient& m_client;
    Flights::iterator m_entry;
    std::shared_ptr<Flight> m_flight;
    bool m_isInTable = true;
};

HttpAnswer SharingClient::Send(const HttpRequest& request)
{
    std::string key = KeyOf(request);
    auto flight = std::make_shared<Flight>();
    std::unique_lock lock(m_lock);
    const auto [entry, isNew] = m_flights.try_emplace(std::move(key), flight);
    if (!isNew) {
        flight = entry->second;
        return WaitFor(*flight, request, lock);
    }
    Sender sender(*this, entry);
    lock.unlock();
    return sender.Send(request);
}

HttpAnswer SharingClient::WaitFor(Flight& flight,
                                  const HttpRequest& request,
                                  std::unique_lock<std::mutex>& lock)
{
    ++flight.waiters;
    const bool hasLanded =
        flight.landed.wait_until(lock, request.deadline, [&] { return flight.hasLanded; });
    --flight.waiters;
    lock.unlock();
    if (!hasLanded)
        return LateAnswer(request);
    // Nobody writes a flight that has landed: the copies are made side by side.
    return flight.hasAnswer ? flight.answer.Copy() : LostAnswer();
}

int SharingClient::WaitersFor(const HttpRequest& request)
{
    const std::lock_guard lock(m_lock);
    const auto entry = m_flights.find(KeyOf(request));
    return entry == m_flights.end() ? 0 : entry->second->waiters;
}

} // namespace KxC::Http
