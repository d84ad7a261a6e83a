// SPDX-License-Identifier: MIT
// A kept-alive fetch of a tile of usual size, beside the least that libcurl can do for it: their
// ratio is what our layers cost. Both fetch from the same server on loopback in the same run, each
// over one connection. Compare the medians of
//   kxtile_net_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include "KxNetGetch.h"

#include "KxRawData.h"
#include "support/LoopbackServer.h"

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace KxC;
using namespace KxC::Testing;

constexpr std::size_t kTileBytes = 20000;

/// Serves until the program ends.
LoopbackServer& Server()
{
    static LoopbackServer server;
    static const bool isSet = [] {
        ::setenv("no_proxy", "127.0.0.1", 1); // NOLINT(concurrency-mt-unsafe): before any request
        server.On("/tile",
                  Answers(200, std::string(kTileBytes, 't'), "Content-Type: image/png\r\n"));
        return true;
    }();
    static_cast<void>(isSet);
    return server;
}

void RequestData(benchmark::State& state)
{
    const KxString url = Server().Url("/tile").c_str();
    for (auto step : state) {
        static_cast<void>(step);
        KxRawData data;
        KxNetGetch::RequestData(data, url, "", "", 0, 1, 0, "", nullptr);
        if (data.GetSize() != kTileBytes)
            state.SkipWithError("no tile");
    }
}
BENCHMARK(RequestData)->UseRealTime();

std::size_t AppendTo(char* bytes, std::size_t /*one*/, std::size_t count, void* body)
{
    static_cast<std::string*>(body)->append(bytes, count);
    return count;
}

void BareLibcurl(benchmark::State& state)
{
    const std::string url = Server().Url("/tile");
    CURL* const handle = curl_easy_init();
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &AppendTo);
    for (auto step : state) {
        static_cast<void>(step);
        std::string body;
        curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
        if (curl_easy_perform(handle) != CURLE_OK || body.size() != kTileBytes)
            state.SkipWithError("no tile");
    }
    curl_easy_cleanup(handle);
}
BENCHMARK(BareLibcurl)->UseRealTime();

} // namespace
