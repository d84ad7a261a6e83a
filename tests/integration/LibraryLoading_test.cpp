// SPDX-License-Identifier: MIT
// What a host sees that loads the library by itself and lets it go again.
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

TEST(LibraryLoading, SwitchesHaveTheirValuesAndUnloadingLeavesNothingBehind)
{
    for (int round = 0; round < 3; ++round) {
        void* library = ::dlopen(KXTILE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << ::dlerror();
        const auto* memory = static_cast<unsigned char*>(
            ::dlsym(library, "_ZN3KxC13KxTileFetcher16m_sbMemCacheUsedE"));
        const auto* disk = static_cast<unsigned char*>(
            ::dlsym(library, "_ZN3KxC13KxTileFetcher18m_sbLocalCacheUsedE"));
        ASSERT_TRUE(memory != nullptr && disk != nullptr);
        EXPECT_EQ(*memory, 1);
        EXPECT_EQ(*disk, 0);
        EXPECT_NE(::dlsym(library, "_ZN3KxC18m_gTSDParamManagerE"), nullptr);
        EXPECT_EQ(::dlclose(library), 0);
    }
}

} // namespace
