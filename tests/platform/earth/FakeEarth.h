// SPDX-License-Identifier: MIT
#pragma once

#include "EarthBytes.h"
#include "KxGeFetcher.h"
#include "support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace KxC::EarthTest {

/// An earth server with two databases, each with its own key: it answers what a test put there, and
/// 404 to everything else.
class FakeEarth
{
public:
    FakeEarth();

    std::string Url() const { return m_server.Url("/earth"); }
    /// The dbRoot of the current database, which names a history server.
    void PutRootNaming(const std::string& historyServer);
    /// A request's header as the last request had it, empty where it had none.
    std::string LastHeader(const std::string& name);
    const std::string& CurrentKey() const { return m_currentKey; }
    const std::string& HistoryKey() const { return m_historyKey; }

    /// Both dbRoots, with these versions.
    void PutRoots(std::uint32_t current, std::uint32_t history);
    /// @param key  of the current database from now on; PutRoots hands it out
    void ChangeCurrentKey(const std::string& key) { m_currentKey = key; }

    /// Puts an answer of status 200.
    /// @param query  of the request, as in "q2-0-q.5"; a dbRoot's is "root" or "root-tm"
    void Put(const std::string& query, const std::string& body);
    /// Puts a packet or an image, encrypted as its query wants it.
    void PutPacket(const std::string& query, const std::string& content);
    void PutImage(const std::string& query, const std::string& picture);
    void PutStatus(const std::string& query, int status);
    /// The query's requests wait before this gate.
    Testing::Gate& Hold(const std::string& query);

    /// The queries of the requests since the last call.
    std::vector<std::string> TakeQueries();
    Testing::LoopbackServer& Server() { return m_server; }

private:
    struct Answer
    {
        int status = 404;
        std::string body;
        Testing::Gate* gate = nullptr;
    };
    void Serve(Testing::LoopbackConnection& connection, const Testing::LoopbackRequest& request);
    const std::string& KeyFor(const std::string& query) const;

    std::string m_currentKey;
    std::string m_historyKey;
    std::mutex m_lock; ///< guards what follows
    std::map<std::string, Answer> m_answers;
    std::vector<std::string> m_queries;
    Testing::LoopbackRequest m_lastRequest;
    Testing::LoopbackServer m_server; ///< last: its threads use all of the above
};

/// A picture of 8 x 8 pixels whose colours are column, row from the south, and `mark`, as PNG.
std::string Picture(unsigned char mark);
constexpr int kPictureSide = 8;

/// What one fetch delivered.
struct Delivered
{
    int result = -1;
    std::string bytes;
    KxGeFetchInfo info;
};

class EarthTest : public ::testing::Test
{
protected:
    EarthTest();
    ~EarthTest() override;

    /// Current imagery, by the tile's digits.
    Delivered FetchCurrent(const std::string& digits);
    Delivered FetchDated(const std::string& digits, const KxTime& date);
    static Delivered Fetch(KxGeFetcher& fetcher, const std::string& digits);
    /// The days of a tile as "2020-1-15 ...".
    std::string Days(const std::string& digits);

    FakeEarth m_earth;
    KxGeFetcher m_current;
};

} // namespace KxC::EarthTest
