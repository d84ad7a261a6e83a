// SPDX-License-Identifier: MIT
#include "MbTilesConnection.h"

#include "KxFileSizeGuard.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <string_view>

namespace KxC {

namespace {

constexpr int kBusyTimeoutMs = 2000;
/// What a query may take, in thousands of steps of SQLite's machine: a lookup takes some twenty
/// steps where there is an index, five for each tile of the pack where there is none.
constexpr int kTileBudget = 50000;
constexpr int kQueryBudget = 60000;
constexpr int kStepsAtOnce = 1000;

/// Functions that views may call: none of them makes much of little.
bool IsHarmless(const char* function)
{
    constexpr std::array<std::string_view, 12> kNames = {"abs",
                                                         "coalesce",
                                                         "count",
                                                         "ifnull",
                                                         "iif",
                                                         "length",
                                                         "max",
                                                         "min",
                                                         "nullif",
                                                         "round",
                                                         "substr",
                                                         "typeof"};
    return function != nullptr && std::find(kNames.begin(), kNames.end(), function) != kNames.end();
}

/// Views come with the file: they may select, and that is all. A recursion need not end.
int Authorize(void*, int action, const char*, const char* name, const char*, const char*)
{
    const bool allowed = action == SQLITE_SELECT || action == SQLITE_READ ||
                         (action == SQLITE_FUNCTION && IsHarmless(name));
    return allowed ? SQLITE_OK : SQLITE_DENY;
}

/// A file that shrinks under a memory map would end the process.
constexpr const char* kSettings = "PRAGMA mmap_size = 0;"
                                  "PRAGMA trusted_schema = OFF;"
                                  "PRAGMA cell_size_check = ON;"
                                  "PRAGMA automatic_index = OFF;"
                                  "PRAGMA query_only = ON;";

constexpr const char* kTileQuery =
    "SELECT tile_data FROM tiles WHERE zoom_level = ?1 AND tile_column = ?2 AND tile_row = ?3"
    " LIMIT 1";

} // namespace

void SqliteDeleter::operator()(sqlite3* connection) const
{
    sqlite3_close(connection);
}

void SqliteDeleter::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

MbTilesConnection::MbTilesConnection(const std::string& name, StepBudget& budget) : m_budget(budget)
{
    const KxFileSizeGuard guard;
    sqlite3* connection = nullptr;
    const int code = sqlite3_open_v2(name.c_str(),
                                     &connection,
                                     SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI,
                                     nullptr);
    m_connection.reset(connection);
    if (code != SQLITE_OK)
        throw PackError(std::string("it cannot be opened: ") + sqlite3_errstr(code));
    Configure();
    m_tile = Prepare(kTileQuery);
    if (m_tile == nullptr)
        throw PackError(std::string("its tiles cannot be read: ") +
                        sqlite3_errmsg(m_connection.get()));
}

void MbTilesConnection::Configure()
{
    sqlite3* const connection = m_connection.get();
    constexpr int kRowBytes = static_cast<int>(TilePack::kMaxTileBytes) + 4096;
    sqlite3_busy_timeout(connection, kBusyTimeoutMs);
    sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, kRowBytes);
    sqlite3_limit(connection, SQLITE_LIMIT_SQL_LENGTH, 1 << 20);
    sqlite3_limit(connection, SQLITE_LIMIT_EXPR_DEPTH, 50);
    sqlite3_limit(connection, SQLITE_LIMIT_COMPOUND_SELECT, 50);
    sqlite3_limit(connection, SQLITE_LIMIT_VDBE_OP, 25000);
    sqlite3_limit(connection, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_limit(connection, SQLITE_LIMIT_WORKER_THREADS, 0);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_drop_modules(connection, nullptr);
    sqlite3_progress_handler(connection, kStepsAtOnce, &CountSteps, this);
    m_nStepsLeft = kQueryBudget;
    if (const int code = sqlite3_exec(connection, kSettings, nullptr, nullptr, nullptr);
        code != SQLITE_OK)
        throw PackError(std::string("it cannot be read: ") + sqlite3_errmsg(connection));
    sqlite3_set_authorizer(connection, &Authorize, nullptr);
}

int MbTilesConnection::CountSteps(void* connection)
{
    return --static_cast<MbTilesConnection*>(connection)->m_nStepsLeft < 0 ? 1 : 0;
}

MbTilesConnection::Statement MbTilesConnection::Prepare(const char* sql) const
{
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v3(m_connection.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    Statement prepared(statement);
    if (prepared != nullptr && GathersRows(sql))
        return nullptr;
    return prepared;
}

/// Whether a view makes the query gather rows before it answers: nothing would bound the memory, or
/// the disk, that they take.
bool MbTilesConnection::GathersRows(const char* sql) const
{
    const std::string explain = std::string("EXPLAIN QUERY PLAN ") + sql;
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(m_connection.get(), explain.c_str(), -1, &statement, nullptr);
    const Statement plan(statement);
    constexpr int kDetail = 3;
    while (plan != nullptr && sqlite3_step(plan.get()) == SQLITE_ROW) {
        const auto* const text = sqlite3_column_text(plan.get(), kDetail);
        const std::string_view detail(text != nullptr ? reinterpret_cast<const char*>(text) : "");
        for (const char* const gathering : {"TEMP B-TREE", "MATERIALIZE", "AUTOMATIC"})
            if (detail.find(gathering) != std::string_view::npos)
                return true;
    }
    return plan == nullptr;
}

int MbTilesConnection::Step(sqlite3_stmt* statement, int budget)
{
    m_nStepsLeft = budget;
    return sqlite3_step(statement);
}

bool MbTilesConnection::ReadTile(const TileAddress& address, TileBytes& bytes)
{
    if (m_budget.IsSpent())
        throw PackError("its tiles take too long to find; its table of tiles needs an index");
    const KxFileSizeGuard guard;
    sqlite3_bind_int(m_tile.get(), 1, address.m_nLevel);
    sqlite3_bind_int(m_tile.get(), 2, address.m_nCol);
    sqlite3_bind_int(m_tile.get(), 3, address.m_nRow);
    // The statement holds a read lock until it is reset, whatever happens.
    const struct Resetter
    {
        sqlite3_stmt* m_statement;
        ~Resetter() { sqlite3_reset(m_statement); }
    } resetter{m_tile.get()};
    const int code = Step(m_tile.get(), kTileBudget);
    m_budget.Charge(kTileBudget - m_nStepsLeft);
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        throw PackError(std::string("a tile cannot be read: ") +
                        sqlite3_errmsg(m_connection.get()));
    return code == SQLITE_ROW && TakeTile(bytes);
}

bool MbTilesConnection::TakeTile(TileBytes& bytes)
{
    const int type = sqlite3_column_type(m_tile.get(), 0);
    if (type == SQLITE_NULL)
        return false;
    if (type != SQLITE_BLOB)
        throw PackError("a tile is no picture");
    const void* const data = sqlite3_column_blob(m_tile.get(), 0);
    const int size = sqlite3_column_bytes(m_tile.get(), 0);
    if (size <= 0)
        return false;
    if (data == nullptr) // there was no memory for it
        throw std::bad_alloc();
    bytes.Allocate(static_cast<std::size_t>(size));
    std::memcpy(bytes.Data(), data, bytes.Size());
    return true;
}

bool MbTilesConnection::ReadText(const char* sql, std::string& text)
{
    const KxFileSizeGuard guard;
    text.clear();
    const Statement statement = Prepare(sql);
    if (statement == nullptr)
        return false;
    const int code = Step(statement.get(), kQueryBudget);
    if (code == SQLITE_ROW) {
        const auto* bytes = sqlite3_column_text(statement.get(), 0);
        const int size = sqlite3_column_bytes(statement.get(), 0);
        if (bytes != nullptr)
            text.assign(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    }
    return code == SQLITE_ROW || code == SQLITE_DONE;
}

bool MbTilesConnection::ReadNumbers(const char* sql, int level, long long* numbers, int count)
{
    const KxFileSizeGuard guard;
    const Statement statement = Prepare(sql);
    if (statement == nullptr)
        return false;
    // Queries without a parameter have no place for it.
    sqlite3_bind_int(statement.get(), 1, level);
    if (Step(statement.get(), kQueryBudget) != SQLITE_ROW)
        return false;
    for (int i = 0; i < count; ++i) {
        if (sqlite3_column_type(statement.get(), i) != SQLITE_INTEGER)
            return false;
        numbers[i] = sqlite3_column_int64(statement.get(), i);
    }
    return true;
}

} // namespace KxC
