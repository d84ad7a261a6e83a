// SPDX-License-Identifier: MIT
#pragma once

#include "StepBudget.h"
#include "TilePack.h"

#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace KxC {

struct SqliteDeleter
{
    void operator()(sqlite3* connection) const;
    void operator()(sqlite3_stmt* statement) const;
};

/// One connection to an MBTiles database, for reading alone. What the database's own tables and
/// views make of a query is bounded: in steps, in bytes, and in what they may call. One thread at a
/// time.
class MbTilesConnection
{
public:
    /// @param name    a path, or a URI ("file:...")
    /// @param budget  of all connections to the pack; must outlive this
    /// @throws PackError when it is no database with a table or view of tiles
    MbTilesConnection(const std::string& name, StepBudget& budget);
    MbTilesConnection(const MbTilesConnection&) = delete;
    MbTilesConnection& operator=(const MbTilesConnection&) = delete;

    /// @return false where there is no tile
    /// @throws PackError when it cannot be read, or the budget is spent
    bool ReadTile(const TileAddress& address, TileBytes& bytes);

    /// The first row of a query of one column, as text.
    /// @param text  empty when there is none
    /// @return false when the query cannot be answered
    bool ReadText(const char* sql, std::string& text);
    /// The first row of a query of `count` columns, as numbers.
    /// @param level  the query's parameter
    /// @return false when there is none, or the query cannot be answered
    bool ReadNumbers(const char* sql, int level, long long* numbers, int count);

private:
    using Statement = std::unique_ptr<sqlite3_stmt, SqliteDeleter>;

    static int CountSteps(void* connection);
    void Configure();
    /// Null when the database cannot answer the query, or not in bounded memory.
    Statement Prepare(const char* sql) const;
    bool GathersRows(const char* sql) const;
    /// Steps once, within a number of steps of SQLite's machine.
    int Step(sqlite3_stmt* statement, int budget);
    bool TakeTile(TileBytes& bytes);

    StepBudget& m_budget;
    std::unique_ptr<sqlite3, SqliteDeleter> m_connection;
    Statement m_tile; ///< after the connection, so that it goes first
    int m_nStepsLeft = 0;
};

} // namespace KxC
