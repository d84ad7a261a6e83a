// SPDX-License-Identifier: MIT
#pragma once

#include "KxFile.h"
#include "KxRawDataTypeCache.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace KxC {

using Manager = KxRawDataTypeCacheManager;
constexpr Manager::CacheType kType = Manager::CacheType_SourceTile;

inline bool
SaveText(Manager& manager, const char* name, int level, int row, int col, std::string text)
{
    const KxSRawDataTypeCacheItem item{GetchResult_HasData,
                                       static_cast<unsigned int>(text.size()),
                                       reinterpret_cast<unsigned char*>(text.data())};
    const int handle = manager.OpenSubTreeCache(kType, name);
    return manager.SaveTreeData(kType, handle, level, row, col, item) == 1;
}

/// The bytes, "no data" for a marker, "unknown" for a miss that left the item untouched.
inline std::string LoadText(Manager& manager, const char* name, int level, int row, int col)
{
    KxSRawDataTypeCacheItem item;
    const int handle = manager.OpenSubTreeCache(kType, name);
    const GetchResult result = manager.LoadTreeData(kType, handle, level, row, col, item);
    EXPECT_EQ(result, item.m_nState);
    if (result == GetchResult_NoData)
        return "no data";
    if (result != GetchResult_HasData)
        return item.m_pData == nullptr && item.m_nSize == 0 ? "unknown" : "touched";
    const std::string text(item.m_pData, item.m_pData + item.m_nSize);
    std::free(item.m_pData);
    return text;
}

inline bool SaveMarker(Manager& manager, const char* name, int level, int row, int col)
{
    const int handle = manager.OpenSubTreeCache(kType, name);
    return manager.SaveNoTreeDataInServer(kType, handle, level, row, col) == 1;
}

inline std::string ReadBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void WriteBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

/// The first column of a query's first row, straight from SQLite; "none" without a row, the error
/// when it fails.
inline std::string Query(const std::string& path, const std::string& sql)
{
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    std::string answer = "none";
    sqlite3_open(path.c_str(), &database);
    if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK)
        answer = sqlite3_errmsg(database);
    else if (sqlite3_step(statement) == SQLITE_ROW &&
             sqlite3_column_type(statement, 0) != SQLITE_NULL)
        answer.assign(static_cast<const char*>(sqlite3_column_blob(statement, 0)),
                      static_cast<std::size_t>(sqlite3_column_bytes(statement, 0)));
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return answer;
}

/// A cache folder of the test's own, and a manager on it.
class CacheFolderTest : public testing::Test
{
protected:
    CacheFolderTest() { KxFile::m_strAppCachePath = m_folder.c_str(); }

    std::string PathOf(const std::string& name) const
    {
        return m_folder + "/tiles/" + name + ".mbtiles";
    }
    /// As another start of the program.
    void Restart() { m_manager = std::make_unique<Manager>(); }

    TempFolder m_temporary; // first, so that it goes when the manager has let go of its files
    std::string m_folder = m_temporary.Path().string();
    std::unique_ptr<Manager> m_manager = std::make_unique<Manager>();
};

} // namespace KxC
