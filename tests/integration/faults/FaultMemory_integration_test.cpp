// SPDX-License-Identifier: MIT
#include "integration/OriginProcess.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace KxC::Testing {

namespace {

using ::testing::HasSubstr;

constexpr long long kMebibyte = 1 << 20;
constexpr const char* kTile = "xyz/graticule/3/2/1.png";

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Their shadows and the blocks that they keep from reuse are counted too.
constexpr long long kSanitizerFactor = 16;
#else
constexpr long long kSanitizerFactor = 1;
#endif

struct ClosePipe
{
    void operator()(std::FILE* pipe) const { ::pclose(pipe); }
};

std::string OutputOf(const std::string& command)
{
    // NOLINTNEXTLINE(cert-env33-c): the command is the test's own
    const std::unique_ptr<std::FILE, ClosePipe> pipe(::popen(command.c_str(), "r"));
    std::string output;
    std::array<char, 4096> buffer;
    for (std::size_t count = 0;
         (count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0;)
        output.append(buffer.data(), count);
    return output;
}

} // namespace

class FaultMemory : public ::testing::Test
{
protected:
    /// What a process of its own tells of a request for a tile with this fault.
    nlohmann::json Probe(const std::string& kind) const
    {
        const std::string tile = m_origin.Url(std::string("/") + kTile);
        const std::string faulty = m_origin.Url("/fault/" + kind + "/always/" + kTile);
        return nlohmann::json::parse(
            OutputOf(std::string(FETCH_PROBE) + " " + tile + " " + faulty + " 20000"));
    }
    void ExpectBounded(const std::string& kind, const char* words, long long bytes) const
    {
        const nlohmann::json report = Probe(kind);
        EXPECT_EQ(6, report["result"]);
        EXPECT_THAT(report["cause"].get<std::string>(), HasSubstr(words));
        EXPECT_LE(report["reserved"].get<long long>(), kSanitizerFactor * bytes);
        EXPECT_LE(report["resident"].get<long long>(), kSanitizerFactor * bytes);
    }

    OriginProcess m_origin;
};

TEST_F(FaultMemory, PromisedGigabyteTakesNone)
{
    ExpectBounded("gigabyte", "body larger than", 4 * kMebibyte);
}

TEST_F(FaultMemory, EndlessBodyTakesNoMoreThanTheBound)
{
    ExpectBounded("endless", "body larger than", 72 * kMebibyte);
}

TEST_F(FaultMemory, HeaderFloodTakesNone)
{
    ExpectBounded("flood", "header lines", 4 * kMebibyte);
}

TEST_F(FaultMemory, IsSeenToGrowByWhatIsReceived)
{
    // What the bounds above are worth: 64 MiB that are received do show.
    EXPECT_GE(Probe("endless")["resident"].get<long long>(), 60 * kMebibyte);
}

} // namespace KxC::Testing
