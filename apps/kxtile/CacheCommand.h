// SPDX-License-Identifier: MIT
/// What the commands on the disk cache share.
#pragma once

#include "Command.h"
#include "KxRawDataTypeCache.h"

#include <chrono>
#include <string>

namespace KxTileHost {

constexpr auto kTiles = KxC::KxRawDataTypeCacheManager::CacheType_SourceTile;

/// "512 B", "1.5 MiB".
std::string ReadableBytes(unsigned long long bytes);

/// Says on a terminal how far a long walk over tiles has come; nothing elsewhere.
class Progress
{
public:
    Progress(std::string what, unsigned long long total);
    /// Ends the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Next();

private:
    std::string m_what;
    unsigned long long m_nTotal;
    unsigned long long m_nDone = 0;
    bool m_isTerminal;
    bool m_isShown = false;
    std::chrono::steady_clock::time_point m_shownAt;
};

void AddCacheVerifyCommand(CLI::App& cache, const GlobalOptions& options);
void AddCacheExportCommand(CLI::App& cache, const GlobalOptions& options);

} // namespace KxTileHost
