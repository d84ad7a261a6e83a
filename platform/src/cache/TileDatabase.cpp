// SPDX-License-Identifier: MIT
#include "TileDatabase.h"

#include "KxFileSizeGuard.h"

#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <tuple>

namespace KxC {

namespace {

bool Precedes(const TilePlace& one, const TilePlace& other)
{
    return std::tie(one.m_nLevel, one.m_nCol, one.m_nRow) <
           std::tie(other.m_nLevel, other.m_nCol, other.m_nRow);
}

} // namespace

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
    const KxFileSizeGuard guard;
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
    const KxFileSizeGuard guard;
    const Binding binding(m_statements[which], place);
    return ResultOf(sqlite3_step(binding.Get()));
}

DatabaseResult TileDatabase::Count(TileCounts& counts)
{
    const KxFileSizeGuard guard;
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
    const KxFileSizeGuard guard;
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

DatabaseResult TileDatabase::Next(TilePlace& place)
{
    const KxFileSizeGuard guard;
    const Binding binding(m_statements[Statement_Next], place);
    const int code = sqlite3_step(binding.Get());
    if (code != SQLITE_ROW)
        return code == SQLITE_DONE ? DatabaseResult::Missing : ResultOf(code);
    // What somebody else wrote there may be no number, or one of 64 bits: a walk must still end.
    const TilePlace next{sqlite3_column_int(binding.Get(), 0),
                         sqlite3_column_int(binding.Get(), 2),
                         sqlite3_column_int(binding.Get(), 1)};
    if (!Precedes(place, next))
        return DatabaseResult::Damaged;
    place = next;
    return DatabaseResult::Done;
}

DatabaseResult TileDatabase::CheckIntegrity(std::vector<std::string>& problems)
{
    const KxFileSizeGuard guard;
    const int code = ReadTexts("PRAGMA integrity_check", problems);
    if (code != SQLITE_OK)
        problems.emplace_back(sqlite3_errmsg(m_connection));
    else if (problems.size() == 1 && problems.front() == "ok")
        problems.clear();
    return problems.empty() || code != SQLITE_OK ? ResultOf(code) : DatabaseResult::Damaged;
}

DatabaseResult TileDatabase::ReadDescription(std::string& description)
{
    const KxFileSizeGuard guard;
    std::vector<std::string> texts;
    const int code =
        ReadTexts("SELECT value FROM source_metadata WHERE name = 'description'", texts);
    description = texts.empty() ? std::string() : texts.front();
    return ResultOf(code);
}

DatabaseResult TileDatabase::SaveDescription(const std::string& description)
{
    const KxFileSizeGuard guard;
    char* const sql = sqlite3_mprintf(
        "INSERT OR REPLACE INTO source_metadata VALUES('description', %Q)", description.c_str());
    const int code = sql == nullptr ? SQLITE_NOMEM : Execute(sql);
    sqlite3_free(sql);
    return ResultOf(code);
}

int TileDatabase::ReadTexts(const char* sql, std::vector<std::string>& texts)
{
    sqlite3_stmt* statement = nullptr;
    int code = sqlite3_prepare_v2(m_connection, sql, -1, &statement, nullptr);
    while (code == SQLITE_OK && (code = sqlite3_step(statement)) == SQLITE_ROW) {
        const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        texts.emplace_back(text == nullptr ? "" : text);
        code = SQLITE_OK;
    }
    sqlite3_finalize(statement);
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

} // namespace KxC
