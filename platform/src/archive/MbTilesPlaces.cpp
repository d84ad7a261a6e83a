// SPDX-License-Identifier: MIT
#include "ArchivePlaces.h"
#include "KxPmTiles.h"
#include "KxTileArchivePlaces.h"

#include <sqlite3.h>

#include <array>
#include <memory>

namespace KxC {

namespace {

/// Thousands of steps of SQLite's machine from one tile to the next.
constexpr int kBudget = 60000;
constexpr int kStepsAtOnce = 1000;
constexpr int kBusyTimeoutMs = 2000;

struct Closer
{
    void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, Closer>;
using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

/// Views come with the file: they may select, and that is all. A recursion need not end.
int Authorize(void*, int action, const char*, const char*, const char*, const char*)
{
    const bool allowed =
        action == SQLITE_SELECT || action == SQLITE_READ || action == SQLITE_FUNCTION;
    return allowed ? SQLITE_OK : SQLITE_DENY;
}

int CountSteps(void* left)
{
    return --*static_cast<int*>(left) < 0 ? 1 : 0;
}

/// The database has no such tables or columns as the query names.
struct NothingOfThatName : ArchiveError
{
    using ArchiveError::ArchiveError;
};

/// Runs one query on somebody's database.
class MbTilesQuery
{
public:
    MbTilesQuery(const std::string& path, const char* query)
    {
        sqlite3* connection = nullptr;
        const int code =
            sqlite3_open_v2(KxTileArchivePlaces::NameForSqlite(path.c_str()).Cstr(),
                            &connection,
                            SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI,
                            nullptr);
        m_connection.reset(connection);
        Check(code);
        Configure();
        sqlite3_stmt* statement = nullptr;
        const int prepared = sqlite3_prepare_v2(connection, query, -1, &statement, nullptr);
        m_rows.reset(statement);
        if (prepared == SQLITE_ERROR)
            throw NothingOfThatName(sqlite3_errmsg(connection));
        Check(prepared);
    }

    void VisitPlaces(const PlaceVisitor& visitor)
    {
        int code = SQLITE_ROW;
        while ((code = Step()) == SQLITE_ROW) {
            ArchivePlace place{};
            if (TakePlace(place) && !visitor(place))
                return;
        }
        if (code != SQLITE_DONE)
            Check(code);
    }

    /// The first row's first column; empty without a row.
    std::string Text()
    {
        const int code = Step();
        if (code == SQLITE_DONE)
            return {};
        if (code != SQLITE_ROW)
            Check(code);
        const unsigned char* const text = sqlite3_column_text(m_rows.get(), 0);
        return text == nullptr ? "" : reinterpret_cast<const char*>(text);
    }

private:
    void Check(int code) const
    {
        if (code != SQLITE_OK)
            throw ArchiveError(m_connection == nullptr ? sqlite3_errstr(code)
                                                       : sqlite3_errmsg(m_connection.get()));
    }

    void Configure()
    {
        sqlite3* const connection = m_connection.get();
        sqlite3_busy_timeout(connection, kBusyTimeoutMs);
        sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, 64 << 20);
        sqlite3_limit(connection, SQLITE_LIMIT_EXPR_DEPTH, 50);
        sqlite3_limit(connection, SQLITE_LIMIT_COMPOUND_SELECT, 50);
        sqlite3_limit(connection, SQLITE_LIMIT_ATTACHED, 0);
        sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        sqlite3_drop_modules(connection, nullptr);
        sqlite3_progress_handler(connection, kStepsAtOnce, &CountSteps, &m_nStepsLeft);
        Check(sqlite3_exec(connection,
                           "PRAGMA mmap_size = 0; PRAGMA trusted_schema = OFF;"
                           "PRAGMA cell_size_check = ON; PRAGMA query_only = ON;",
                           nullptr,
                           nullptr,
                           nullptr));
        sqlite3_set_authorizer(connection, &Authorize, nullptr);
    }

    int Step()
    {
        m_nStepsLeft = kBudget;
        return sqlite3_step(m_rows.get());
    }

    /// @return false for what is no place on the grid
    bool TakePlace(ArchivePlace& place) const
    {
        std::array<int, 3> numbers{};
        for (int i = 0; i < 3; ++i) {
            if (sqlite3_column_type(m_rows.get(), i) != SQLITE_INTEGER)
                return false;
            const long long number = sqlite3_column_int64(m_rows.get(), i);
            if (number < 0 || number >= 1LL << KxPmTiles::kMaxLevel)
                return false;
            numbers[static_cast<std::size_t>(i)] = static_cast<int>(number);
        }
        place = {numbers[0], numbers[1], numbers[2]};
        unsigned long long id = 0;
        return KxPmTiles::TileIdOf(place.m_nLevel, place.m_nRow, place.m_nCol, id);
    }

    int m_nStepsLeft = kBudget;
    Connection m_connection;
    Statement m_rows; ///< after the connection, so that it goes first
};

} // namespace

void VisitMbTiles(const std::string& path, const PlaceVisitor& visitor)
{
    MbTilesQuery(path, "SELECT zoom_level, tile_row, tile_column FROM tiles").VisitPlaces(visitor);
}

/// An archive need not have the table of what it says of itself, nor one of that form.
std::string OriginOfMbTiles(const std::string& path)
try {
    const std::string query =
        std::string("SELECT value FROM metadata WHERE name = '") + kOriginKey + "' LIMIT 1";
    return MbTilesQuery(path, query.c_str()).Text();
} catch (const NothingOfThatName&) {
    return {};
}

} // namespace KxC
