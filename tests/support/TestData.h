// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace KxC {

/// Why a test that reads public rasters is skipped.
inline constexpr char kNoTestData[] = "KXTILE_TEST_DATA is not set: no public rasters to read";

/// The path of a public raster, in the folder that the environment's KXTILE_TEST_DATA names;
/// nothing where it names none. A name that the folder lacks is a path all the same: its test
/// fails.
inline std::optional<std::string> TestDataFile(const std::string& name)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread changes a test's environment
    const char* const folder = std::getenv("KXTILE_TEST_DATA");
    if (folder == nullptr || *folder == '\0')
        return std::nullopt;
    return (std::filesystem::path(folder) / name).string();
}

} // namespace KxC
