// SPDX-License-Identifier: MIT
#include "TileDatabase.h"

#include <sqlite3.h>

#include <cstdlib>
#include <cstring>

namespace KxC {

/// A statement with a place bound to it, free for the next use when this ends.
class TileDatabase::Binding
{
public:
    Binding(sqlite3_stmt* statement, const TilePlace& place) : m_statement(statement)
    {
        sqlite3_bind_int(m_statement, 1, place.m_nLevel);
        sqlite3_bind_int(m_statement, 2, place.m_nCol);
        sqlite3_bind_int(m_statement, 3, place.m_nRow);
    }
    ~Binding() { sqlite3_reset(m_statement); }
    Binding(const Binding&) = delete;
    Binding& operator=(const Binding&) = delete;

    sqlite3_stmt* Get() const { return m_statement; }

private:
    sqlite3_stmt* m_statement;
};

DatabaseResult TileDatabase::Load(const TilePlace& place, KxSRawDataTypeCacheItem& item)
{
    {
        const Binding tile(m_statements[Statement_Load], place);
        const int code = sqlite3_step(tile.Get());
        if (code != SQLITE_DONE)
            return code == SQLITE_ROW ? ReadTile(tile.Get(), item) : ResultOf(code);
    }
    const Binding marker(m_statements[Statement_IsNoData], place);
    const int code = sqlite3_step(marker.Get());
    if (code == SQLITE_DONE)
        return DatabaseResult::Missing;
    if (code == SQLITE_ROW)
        item = {GetchResult_NoData, 0, nullptr};
    return ResultOf(code);
}

DatabaseResult TileDatabase::ReadTile(sqlite3_stmt* statement, KxSRawDataTypeCacheItem& item)
{
    const void* const blob = sqlite3_column_blob(statement, 0);
    const auto size = static_cast<unsigned int>(sqlite3_column_bytes(statement, 0));
    if (size > kMaxTileBytes)
        return DatabaseResult::Missing;
    if (blob == nullptr) {
        // An empty blob has no bytes to point at; a failed read of a long one answers alike.
        const int code = sqlite3_errcode(m_connection);
        if (code != SQLITE_ROW && code != SQLITE_OK)
            return ResultOf(code);
        item = {GetchResult_HasData, 0, nullptr};
        return DatabaseResult::Done;
    }
    auto* const bytes = static_cast<unsigned char*>(std::malloc(size));
    if (bytes == nullptr)
        return DatabaseResult::Failed;
    std::memcpy(bytes, blob, size);
    item = {GetchResult_HasData, size, bytes};
    return DatabaseResult::Done;
}

DatabaseResult
TileDatabase::Save(const TilePlace& place, const unsigned char* bytes, unsigned int size)
{
    sqlite3_stmt* const statement = m_statements[Statement_Save];
    const int code =
        size == 0 ? sqlite3_bind_zeroblob(statement, 4, 0)
                  : sqlite3_bind_blob(statement, 4, bytes, static_cast<int>(size), SQLITE_STATIC);
    if (code != SQLITE_OK)
        return ResultOf(code);
    const DatabaseResult result = Change(Statement_Save, place);
    sqlite3_bind_null(statement, 4); // the bytes are the caller's
    return result;
}

DatabaseResult TileDatabase::SaveNoData(const TilePlace& place)
{
    return Change(Statement_SaveNoData, place);
}

DatabaseResult TileDatabase::Change(Statement which, const TilePlace& place)
{
    const Binding binding(m_statements[which], place);
    return ResultOf(sqlite3_step(binding.Get()));
}

DatabaseResult TileDatabase::Count(TileCounts& counts)
{
    long long tiles = 0;
    long long markers = 0;
    int code = ReadNumber("SELECT count(*) FROM tiles", tiles);
    if (code == SQLITE_OK)
        code = ReadNumber("SELECT count(*) FROM no_data", markers);
    counts.m_nTiles = static_cast<unsigned long long>(tiles);
    counts.m_nNoData = static_cast<unsigned long long>(markers);
    return ResultOf(code);
}

DatabaseResult TileDatabase::DeleteAll()
{
    const int code = Execute("BEGIN IMMEDIATE; DELETE FROM tiles; DELETE FROM no_data;"
                             " DELETE FROM source_metadata WHERE name = 'format'; COMMIT");
    if (code != SQLITE_OK) {
        Execute("ROLLBACK");
        return ResultOf(code);
    }
    // Giving the space back needs the file alone; while others read, it stays for the next tiles.
    Execute("VACUUM");
    Execute("PRAGMA wal_checkpoint(TRUNCATE)");
    return DatabaseResult::Done;
}

} // namespace KxC
