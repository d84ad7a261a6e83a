// SPDX-License-Identifier: MIT
#include "FakeEarth.h"

#include "KxImgUtility.h"
#include "View.h"

#include <cstdlib>

namespace KxC::EarthTest {

FakeEarth::FakeEarth()
    : m_currentKey("the key of what is seen today..."),
      m_historyKey("another key, for the days that are gone.")
{
    const auto serve = [this](Testing::LoopbackConnection& connection,
                              const Testing::LoopbackRequest& request) {
        Serve(connection, request);
    };
    m_server.On("/earth/dbRoot.v5", serve);
    m_server.On("/earth/flatfile", serve);
}

void FakeEarth::Serve(Testing::LoopbackConnection& connection,
                      const Testing::LoopbackRequest& request)
{
    std::string query = request.target.substr(request.target.find('?') + 1);
    if (request.target.find("dbRoot") != std::string::npos)
        query = query.find("db=tm") == std::string::npos ? "root" : "root-tm";
    Answer answer;
    {
        const std::lock_guard guard(m_lock);
        m_queries.push_back(query);
        m_lastRequest = request;
        answer = m_answers[query];
    }
    if (answer.gate != nullptr)
        answer.gate->Wait();
    connection.Send(Testing::AnswerText(answer.status, answer.body));
}

const std::string& FakeEarth::KeyFor(const std::string& query) const
{
    return query.find("db=tm") == std::string::npos ? m_currentKey : m_historyKey;
}

void FakeEarth::PutRoots(std::uint32_t current, std::uint32_t history)
{
    Put("root", DbRootAnswer(m_currentKey, current));
    Put("root-tm", DbRootAnswer(m_historyKey, history));
}

void FakeEarth::PutRootNaming(const std::string& historyServer)
{
    Put("root", DbRootAnswer(m_currentKey, 5, historyServer));
}

std::string FakeEarth::LastHeader(const std::string& name)
{
    const std::lock_guard guard(m_lock);
    return m_lastRequest.Header(name);
}

void FakeEarth::Put(const std::string& query, const std::string& body)
{
    const std::lock_guard guard(m_lock);
    m_answers[query].status = 200;
    m_answers[query].body = body;
}

void FakeEarth::PutPacket(const std::string& query, const std::string& content)
{
    Put(query, Encrypt(Compress(content), KeyFor(query)));
}

void FakeEarth::PutImage(const std::string& query, const std::string& picture)
{
    Put(query, Encrypt(picture, KeyFor(query)));
}

void FakeEarth::PutStatus(const std::string& query, int status)
{
    const std::lock_guard guard(m_lock);
    m_answers[query].status = status;
}

Testing::Gate& FakeEarth::Hold(const std::string& query)
{
    const std::lock_guard guard(m_lock);
    return *(m_answers[query].gate = &m_server.MakeGate());
}

std::vector<std::string> FakeEarth::TakeQueries()
{
    const std::lock_guard guard(m_lock);
    return std::exchange(m_queries, {});
}

std::string Picture(unsigned char mark)
{
    std::string pixels;
    for (int row = 0; row < kPictureSide; ++row)
        for (int col = 0; col < kPictureSide; ++col)
            pixels += {static_cast<char>(col), static_cast<char>(row), static_cast<char>(mark)};
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    KxImgUtility::SaveImageToMemory(reinterpret_cast<const unsigned char*>(pixels.data()),
                                    kPictureSide,
                                    kPictureSide,
                                    24,
                                    bytes,
                                    size,
                                    ".png",
                                    0);
    const std::string png(reinterpret_cast<const char*>(bytes), size);
    std::free(bytes);
    return png;
}

EarthTest::EarthTest()
{
    ::setenv("no_proxy", "127.0.0.1", 1); // NOLINT(concurrency-mt-unsafe): no other threads yet
    ::unsetenv("KXTILE_EARTH_URL");       // NOLINT(concurrency-mt-unsafe)
    KxGeFetcher::SetServer(m_earth.Url().c_str());
    m_earth.PutRoots(5, 900);
}

EarthTest::~EarthTest()
{
    KxGeFetcher::SetServer("");
}

Delivered EarthTest::Fetch(KxGeFetcher& fetcher, const std::string& digits)
{
    const Earth::QuadPath tile = TileOf(digits);
    KxRawData data;
    KxString info;
    Delivered delivered;
    delivered.result =
        fetcher.FetchImageRawData(data, tile.m_level, tile.m_row, tile.m_col, info, 0);
    if (data.GetData() != nullptr)
        delivered.bytes.assign(reinterpret_cast<const char*>(data.GetData()), data.GetSize());
    delivered.info = KxGeFetcher::GetLastFetchInfo();
    return delivered;
}

Delivered EarthTest::FetchCurrent(const std::string& digits)
{
    return Fetch(m_current, digits);
}

Delivered EarthTest::FetchDated(const std::string& digits, const KxTime& date)
{
    KxGeFetcher fetcher;
    fetcher.SetHistroyDataUsed(1);
    fetcher.SetDataTime(date);
    return Fetch(fetcher, digits);
}

std::string EarthTest::Days(const std::string& digits)
{
    const Earth::QuadPath tile = TileOf(digits);
    std::vector<KxTime> dates;
    const NetError result = m_current.ListDates(dates, tile.m_level, tile.m_row, tile.m_col);
    std::string text = std::to_string(result) + ":";
    for (const KxTime& date : dates)
        text += " " + std::to_string(date.GetYear()) + "-" + std::to_string(date.GetMonth()) + "-" +
                std::to_string(date.GetDay());
    return text;
}

} // namespace KxC::EarthTest
