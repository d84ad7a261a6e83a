// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace KxC {
namespace {

/// What KxFile::m_strAppCachePath starts as in a process with no other environment than this.
std::string CachePathWith(const std::string& environment)
{
    // The sanitizers' own settings stay: they are no part of what is tested.
    const std::string command = "env -u KXTILE_CACHE_DIR -u XDG_CACHE_HOME -u HOME " + environment +
                                " '" KX_PRINT_CACHE_PATH "'";
    std::FILE* output = ::popen(command.c_str(), "r");
    if (output == nullptr)
        return "cannot be run";
    std::string text;
    for (int c = std::fgetc(output); c != EOF && c != '\n'; c = std::fgetc(output))
        text += static_cast<char>(c);
    ::pclose(output);
    return text;
}

TEST(CachePath, IsWhatItsOwnVariableSays)
{
    EXPECT_EQ(CachePathWith("KXTILE_CACHE_DIR=/a/b XDG_CACHE_HOME=/c HOME=/d"), "/a/b");
}

TEST(CachePath, HasNoSeparatorAtItsEnd)
{
    EXPECT_EQ(CachePathWith("KXTILE_CACHE_DIR=/a/b//"), "/a/b");
    EXPECT_EQ(CachePathWith("KXTILE_CACHE_DIR=/"), "/");
}

TEST(CachePath, LiesElseInTheUsersCacheFolder)
{
    EXPECT_EQ(CachePathWith("XDG_CACHE_HOME=/c HOME=/d"), "/c/kxtile");
    EXPECT_EQ(CachePathWith("KXTILE_CACHE_DIR= XDG_CACHE_HOME=/c"), "/c/kxtile");
}

TEST(CachePath, PassesOverARelativeUsersCacheFolder)
{
    EXPECT_EQ(CachePathWith("XDG_CACHE_HOME=c HOME=/d"), "/d/.cache/kxtile");
}

TEST(CachePath, LiesElseBelowTheHomeFolder)
{
    EXPECT_EQ(CachePathWith("HOME=/d"), "/d/.cache/kxtile");
}

TEST(CachePath, AsksTheUserDatabaseWithoutAHomeFolder)
{
    const passwd* user = ::getpwuid(::getuid());
    ASSERT_NE(user, nullptr);
    EXPECT_EQ(CachePathWith(""), std::string(user->pw_dir) + "/.cache/kxtile");
}

} // namespace
} // namespace KxC
