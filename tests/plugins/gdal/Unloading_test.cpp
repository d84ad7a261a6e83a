// SPDX-License-Identifier: MIT
// What becomes of transforms when the tile library goes before the process does.
#include "KxProjManagerCleaner.h"
#include "KxString.h"
#include "PluginFolder.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace KxC::Test {

namespace {

int g_releases = 0;

void CountRelease()
{
    ++g_releases;
}

/// m_gCoordSysTransManager.GetKxCoordSysTrans("32633", EPSG) of a library that was not linked.
void* AskForTransform(void* library)
{
    using Lookup = void* (*)(void* manager, const KxString& projection, int type);
    const auto lookup =
        reinterpret_cast<Lookup>(::dlsym(library,
                                         "_ZN3KxC22KxCoordSysTransManager18GetKxCoordSysTransERKNS_"
                                         "8KxStringENS_17ProjectStringTypeE"));
    void* manager = ::dlsym(library, "_ZN3KxC23m_gCoordSysTransManagerE");
    EXPECT_TRUE(lookup != nullptr && manager != nullptr);
    return lookup != nullptr && manager != nullptr ? lookup(manager, "32633", 2) : nullptr;
}

} // namespace

TEST(LibraryUnloading, DestroysTransformsAndThenReleasesProjections)
{
    UseBuiltPlugin();
    ASSERT_EQ(KxProjManagerCleaner::AddRelease(&CountRelease), 1);
    for (int round = 1; round <= 2; ++round) {
        void* library = ::dlopen(KXTILE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << ::dlerror(); // NOLINT(concurrency-mt-unsafe): by thread
        EXPECT_NE(AskForTransform(library), nullptr);
        EXPECT_EQ(g_releases, round - 1);
        EXPECT_EQ(::dlclose(library), 0);
        EXPECT_EQ(g_releases, round);
    }
}

TEST(LibraryUnloading, LeavesAHostsOwnAccessorsWorking)
{
    const std::unique_ptr<KxRasterDataAccessor> accessor = NewAccessor();
    ASSERT_NE(accessor, nullptr);
    ASSERT_NE(accessor->SetEPSG("32633"), 0);
    void* library = ::dlopen(KXTILE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << ::dlerror(); // NOLINT(concurrency-mt-unsafe): by thread
    ASSERT_EQ(::dlclose(library), 0);
    KxPoint3d out;
    accessor->WGS84PtToSrcPt({15, 0, 0}, out); // the zone's central meridian
    EXPECT_NEAR(out.x, 500000, 1e-6);
}

} // namespace KxC::Test
