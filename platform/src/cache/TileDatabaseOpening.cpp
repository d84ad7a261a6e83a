// SPDX-License-Identifier: MIT
// Opening: whose file it is, and the tables that make it one of ours.
#include "KxFileSizeGuard.h"
#include "TileDatabase.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <chrono>
#include <string_view>

namespace KxC {

namespace {

constexpr int kBusyTimeoutMs = 5000;
constexpr int kBusyPauseMs = 10;
/// "KxTC": tells our files from other programs' databases.
constexpr long long kApplicationId = 0x4B785443;
constexpr long long kSchemaVersion = 1;

/// `tiles` and `metadata` are what an MBTiles reader looks for. The triggers let every save be one
/// statement, hence one transaction: a tile takes the place of a marker and the other way round.
constexpr const char* kSchema = R"sql(
CREATE TABLE tiles(zoom_level INTEGER NOT NULL, tile_column INTEGER NOT NULL,
                   tile_row INTEGER NOT NULL, tile_data BLOB NOT NULL);
CREATE UNIQUE INDEX tile_index ON tiles(zoom_level, tile_column, tile_row);
CREATE TABLE no_data(zoom_level INTEGER NOT NULL, tile_column INTEGER NOT NULL,
                     tile_row INTEGER NOT NULL,
                     PRIMARY KEY(zoom_level, tile_column, tile_row)) WITHOUT ROWID;
CREATE TABLE source_metadata(name TEXT PRIMARY KEY NOT NULL, value TEXT NOT NULL) WITHOUT ROWID;
CREATE VIEW metadata AS
  SELECT name, value FROM source_metadata
  UNION ALL SELECT 'minzoom', CAST(level AS TEXT)
    FROM (SELECT min(zoom_level) AS level FROM tiles) WHERE level IS NOT NULL
  UNION ALL SELECT 'maxzoom', CAST(level AS TEXT)
    FROM (SELECT max(zoom_level) AS level FROM tiles) WHERE level IS NOT NULL;
CREATE TRIGGER tile_replaces_marker AFTER INSERT ON tiles BEGIN
  DELETE FROM no_data WHERE zoom_level = NEW.zoom_level
    AND tile_column = NEW.tile_column AND tile_row = NEW.tile_row;
END;
CREATE TRIGGER marker_replaces_tile AFTER INSERT ON no_data BEGIN
  DELETE FROM tiles WHERE zoom_level = NEW.zoom_level
    AND tile_column = NEW.tile_column AND tile_row = NEW.tile_row;
END;
CREATE TRIGGER first_tile_tells_format AFTER INSERT ON tiles
  WHEN NOT EXISTS (SELECT 1 FROM source_metadata WHERE name = 'format') BEGIN
  INSERT INTO source_metadata SELECT 'format', format FROM (SELECT CASE
    WHEN substr(NEW.tile_data, 1, 8) = x'89504E470D0A1A0A' THEN 'png'
    WHEN substr(NEW.tile_data, 1, 3) = x'FFD8FF' THEN 'jpg'
    WHEN substr(NEW.tile_data, 1, 4) = x'52494646'
     AND substr(NEW.tile_data, 9, 4) = x'57454250' THEN 'webp' END AS format)
    WHERE format IS NOT NULL;
END;
PRAGMA application_id = 0x4B785443;
PRAGMA user_version = 1;
)sql";

/// Settings of a connection; a killed process loses nothing with any of them.
constexpr const char* kSettings = "PRAGMA synchronous = NORMAL;"
                                  "PRAGMA secure_delete = OFF;"
                                  "PRAGMA trusted_schema = OFF;"
                                  "PRAGMA journal_size_limit = 16777216;";

constexpr std::array<const char*, 5> kStatementTexts = {
    "SELECT tile_data FROM tiles WHERE zoom_level = ?1 AND tile_column = ?2 AND tile_row = ?3",
    "SELECT 1 FROM no_data WHERE zoom_level = ?1 AND tile_column = ?2 AND tile_row = ?3",
    "INSERT OR REPLACE INTO tiles VALUES(?1, ?2, ?3, ?4)",
    "INSERT OR REPLACE INTO no_data VALUES(?1, ?2, ?3)",
    "SELECT zoom_level, tile_column, tile_row FROM tiles"
    " WHERE (zoom_level, tile_column, tile_row) > (?1, ?2, ?3) ORDER BY 1, 2, 3 LIMIT 1",
};

/// `path` as a file URI that SQLite shall take for a file that nobody changes.
std::string ImmutableUri(const std::string& path)
{
    std::string uri = "file:";
    for (const char character : path) {
        if (character == '%')
            uri += "%25";
        else if (character == '?')
            uri += "%3f";
        else if (character == '#')
            uri += "%23";
        else
            uri += character;
    }
    return uri + "?immutable=1";
}

/// The name as MBTiles metadata: the file's, without folder and extension.
std::string NameOf(const std::string& path)
{
    const std::size_t start = path.rfind('/') + 1;
    return path.substr(start, path.rfind('.') - start);
}

bool IsUnopenable(int code)
{
    const int primary = code & 0xFF;
    return primary == SQLITE_CANTOPEN || primary == SQLITE_READONLY || primary == SQLITE_PERM ||
           primary == SQLITE_IOERR;
}

} // namespace

DatabaseResult ResultOf(int code)
{
    switch (code & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return DatabaseResult::Done;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return DatabaseResult::Damaged;
    default:
        return DatabaseResult::Failed;
    }
}

TileDatabase::TileDatabase() = default;

TileDatabase::~TileDatabase()
{
    Close();
}

void TileDatabase::Close()
{
    // The last connection of a file writes its log into it.
    const KxFileSizeGuard guard;
    for (sqlite3_stmt*& statement : m_statements) {
        sqlite3_finalize(statement);
        statement = nullptr;
    }
    sqlite3_close(m_connection);
    m_connection = nullptr;
}

std::optional<TileDatabase::Stamp> TileDatabase::StampOf(const std::string& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return Stamp{status.st_dev,
                 status.st_ino,
                 status.st_size,
                 status.st_mtim.tv_sec,
                 status.st_mtim.tv_nsec};
}

bool TileDatabase::IsCurrent() const
{
    return m_immutable ? StampOf(m_path) == m_immutable : !HasMoved();
}

bool TileDatabase::HasMoved() const
{
    int moved = 0;
    if (m_connection != nullptr)
        sqlite3_file_control(m_connection, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

DatabaseResult TileDatabase::Open(const std::string& path, bool create)
{
    const KxFileSizeGuard guard;
    m_path = path;
    const std::optional<Stamp> stamp = StampOf(path);
    if (!stamp && !create)
        return DatabaseResult::Missing;
    const DatabaseResult shared = OpenShared(create);
    if (shared != DatabaseResult::Failed || create || !stamp ||
        !IsUnopenable(sqlite3_extended_errcode(m_connection)))
        return shared;
    m_immutable = stamp;
    return OpenImmutable();
}

DatabaseResult TileDatabase::OpenShared(bool create)
{
    const int code = Connect(m_path, SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0));
    if (code != SQLITE_OK)
        return ResultOf(code);
    m_writable = sqlite3_db_readonly(m_connection, "main") == 0;
    const DatabaseResult identity = Identify(create);
    return identity == DatabaseResult::Done ? Prepare() : identity;
}

DatabaseResult TileDatabase::OpenImmutable()
{
    m_writable = false;
    const int code = Connect(ImmutableUri(m_path), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
    if (code != SQLITE_OK)
        return ResultOf(code);
    const DatabaseResult identity = Identify(false);
    return identity == DatabaseResult::Done ? Prepare() : identity;
}

int TileDatabase::Connect(const std::string& name, int flags)
{
    Close();
    const int code = sqlite3_open_v2(
        name.c_str(), &m_connection, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
    if (code != SQLITE_OK)
        return code;
    sqlite3_busy_timeout(m_connection, kBusyTimeoutMs);
    sqlite3_limit(m_connection, SQLITE_LIMIT_LENGTH, static_cast<int>(kMaxTileBytes) + 4096);
    sqlite3_db_config(m_connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    return SQLITE_OK;
}

DatabaseResult TileDatabase::Identify(bool create)
{
    Identity identity;
    const int code = ReadIdentity(identity);
    if (code != SQLITE_OK)
        return ResultOf(code);
    if (identity.m_nApplication == kApplicationId)
        return identity.m_nVersion == kSchemaVersion ? DatabaseResult::Done
                                                     : DatabaseResult::Refused;
    if (!identity.m_isEmpty)
        return DatabaseResult::Refused;
    return create ? CreateSchema() : DatabaseResult::Missing;
}

int TileDatabase::ReadIdentity(Identity& identity)
{
    // In one transaction, hence of one moment: while another connection makes the tables, an old
    // mark together with the new tables would look like another program's file.
    int code = Execute("BEGIN");
    if (code == SQLITE_OK)
        code = ReadNumber("PRAGMA application_id", identity.m_nApplication);
    if (code == SQLITE_OK)
        code = ReadNumber("PRAGMA user_version", identity.m_nVersion);
    if (code == SQLITE_OK && identity.m_nApplication == 0 && identity.m_nVersion == 0)
        identity.m_isEmpty = IsEmpty(code);
    // After a failure the connection is closed, and the transaction with it; to end it here would
    // wipe out what the failure was.
    return code == SQLITE_OK ? Execute("COMMIT") : code;
}

bool TileDatabase::IsEmpty(int& result)
{
    long long objects = 0;
    result = ReadNumber("SELECT count(*) FROM sqlite_schema", objects);
    return result == SQLITE_OK && objects == 0;
}

DatabaseResult TileDatabase::CreateSchema()
{
    // Another process may be at the same: under the write lock only one finds the file empty.
    int code = EnterWal();
    if (code == SQLITE_OK)
        code = Execute("BEGIN IMMEDIATE");
    if (code != SQLITE_OK)
        return ResultOf(code);
    if (IsEmpty(code)) {
        code = Execute(kSchema);
        char* const sql =
            sqlite3_mprintf("INSERT INTO source_metadata VALUES('name', %Q), ('type', 'baselayer'),"
                            " ('version', '1')",
                            NameOf(m_path).c_str());
        if (code == SQLITE_OK)
            code = sql == nullptr ? SQLITE_NOMEM : Execute(sql);
        sqlite3_free(sql);
    }
    if (code == SQLITE_OK)
        code = Execute("COMMIT");
    if (code != SQLITE_OK) {
        Execute("ROLLBACK");
        return ResultOf(code);
    }
    return Identify(false);
}

int TileDatabase::EnterWal()
{
    // The switch does not wait for the lock by itself when another process is at it too.
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kBusyTimeoutMs);
    int code = Execute("PRAGMA journal_mode = WAL");
    while ((code & 0xFF) == SQLITE_BUSY && std::chrono::steady_clock::now() < end) {
        sqlite3_sleep(kBusyPauseMs);
        code = Execute("PRAGMA journal_mode = WAL");
    }
    return code;
}

DatabaseResult TileDatabase::Prepare()
{
    if (!m_immutable) {
        const int code = Execute(kSettings);
        if (code != SQLITE_OK)
            return ResultOf(code);
    }
    for (std::size_t i = 0; i < m_statements.size(); ++i) {
        const int code = sqlite3_prepare_v3(m_connection,
                                            kStatementTexts[i],
                                            -1,
                                            SQLITE_PREPARE_PERSISTENT,
                                            &m_statements[i],
                                            nullptr);
        // A file that carries our mark without our tables has been tampered with.
        if (code != SQLITE_OK)
            return code == SQLITE_ERROR ? DatabaseResult::Damaged : ResultOf(code);
    }
    return DatabaseResult::Done;
}

int TileDatabase::ReadNumber(const char* sql, long long& number)
{
    sqlite3_stmt* statement = nullptr;
    int code = sqlite3_prepare_v2(m_connection, sql, -1, &statement, nullptr);
    if (code == SQLITE_OK)
        code = sqlite3_step(statement);
    if (code == SQLITE_ROW)
        number = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    return code == SQLITE_ROW || code == SQLITE_DONE ? SQLITE_OK : code;
}

int TileDatabase::Execute(const char* sql)
{
    return sqlite3_exec(m_connection, sql, nullptr, nullptr, nullptr);
}

} // namespace KxC
