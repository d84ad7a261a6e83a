// SPDX-License-Identifier: MIT
// Another process on a cache folder, as a test starts it:
//   cache_child writes <folder> <number> <tiles>    saves tiles of its own and shared ones, and
//   ends cache_child writes-on <folder>                  saves and tells of each tile until it is
//   killed
// Ends with 1 when a save fails, with 2 when it was started wrongly.
#include "KxFile.h"
#include "KxRawDataTypeCache.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace KxC {
namespace {

bool Save(int level, int col, std::string text)
{
    constexpr auto kType = KxRawDataTypeCacheManager::CacheType_SourceTile;
    const KxSRawDataTypeCacheItem item{GetchResult_HasData,
                                       static_cast<unsigned int>(text.size()),
                                       reinterpret_cast<unsigned char*>(text.data())};
    const int handle = m_gRawDataTypeCacheManager.OpenSubTreeCache(kType, "a");
    return m_gRawDataTypeCacheManager.SaveTreeData(kType, handle, level, 0, col, item) == 1;
}

bool Write(int number, int tiles)
{
    for (int col = 0; col < tiles; ++col)
        if (!Save(number, col, std::string(3000, 'x')) || !Save(30, col, "shared"))
            return false;
    return true;
}

bool WriteOn()
{
    for (int col = 0; Save(1, col, std::to_string(col) + std::string(5000, 'x')); ++col) {
        std::printf("stored %d\n", col);
        std::fflush(stdout);
    }
    return false;
}

} // namespace
} // namespace KxC

int main(int count, char** arguments)
{
    const std::string task = count > 1 ? arguments[1] : "";
    if (count > 2)
        KxC::KxFile::m_strAppCachePath = arguments[2];
    if (task == "writes" && count == 5)
        return KxC::Write(std::atoi(arguments[3]), std::atoi(arguments[4])) ? 0 : 1;
    if (task == "writes-on" && count == 3)
        return KxC::WriteOn() ? 0 : 1;
    return 2;
}
