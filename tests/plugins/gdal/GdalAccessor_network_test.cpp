// SPDX-License-Identifier: MIT
#include "PluginFolder.h"
#include "support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace KxC::Test {

TEST(GdalAccessorNetwork, FetchesNoGridsWhateverTheEnvironmentSays)
{
    // PROJ would look for the grids of Great Britain's datum shift on this server.
    const KxC::Testing::LoopbackServer server;
    // NOLINTBEGIN(concurrency-mt-unsafe): the server's thread reads no environment
    ::setenv("PROJ_NETWORK", "ON", 1);
    ::setenv("PROJ_NETWORK_ENDPOINT", server.Url("").c_str(), 1);
    const std::unique_ptr<KxRasterDataAccessor> accessor = NewAccessor();
    ASSERT_NE(accessor, nullptr);
    ASSERT_NE(accessor->SetEPSG("27700"), 0);
    KxPoint3d out;
    accessor->WGS84PtToSrcPt({-2, 54, 0}, out);
    ::unsetenv("PROJ_NETWORK");
    ::unsetenv("PROJ_NETWORK_ENDPOINT");
    // NOLINTEND(concurrency-mt-unsafe)
    EXPECT_GT(out.x, 0);
    EXPECT_EQ(server.ConnectionCount(), 0);
}

} // namespace KxC::Test
