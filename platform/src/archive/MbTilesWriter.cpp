// SPDX-License-Identifier: MIT
#include "MbTilesWriter.h"

#include <sqlite3.h>

#include <array>
#include <charconv>
#include <new>
#include <system_error>
#include <utility>

namespace KxC {

namespace {

/// Pictures up to this size are looked for among those already there, while these are few enough.
constexpr std::size_t kMaxSmallBytes = 4096;
constexpr std::size_t kMaxSmallPictures = 4096;

/// The mark is the one registered for MBTiles, "MPBX". The file is nobody's until it is renamed, so
/// it needs no journal.
constexpr const char* kSchema = R"sql(
PRAGMA journal_mode = OFF;
PRAGMA synchronous = OFF;
PRAGMA application_id = 0x4D504258;
BEGIN;
CREATE TABLE metadata(name TEXT NOT NULL PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;
CREATE TABLE images(tile_id INTEGER PRIMARY KEY, tile_data BLOB NOT NULL);
CREATE TABLE map(zoom_level INTEGER NOT NULL, tile_column INTEGER NOT NULL,
                 tile_row INTEGER NOT NULL, tile_id INTEGER NOT NULL,
                 PRIMARY KEY(zoom_level, tile_column, tile_row)) WITHOUT ROWID;
CREATE VIEW tiles AS SELECT zoom_level, tile_column, tile_row, tile_data
  FROM map JOIN images ON images.tile_id = map.tile_id;
)sql";

/// As many digits as give the same number again; in no locale but "C", and without an exponent.
std::string Degrees(double value)
{
    std::array<char, 400> text{}; // more than the smallest number takes
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    return {text.data(), error == std::errc() ? end : text.data()};
}

} // namespace

MbTilesWriter::MbTilesWriter(const std::string& path) : m_file(path)
{
    try {
        Begin();
    } catch (...) {
        Close();
        throw;
    }
}

MbTilesWriter::~MbTilesWriter()
{
    Close();
}

void MbTilesWriter::Close()
{
    sqlite3_finalize(std::exchange(m_addPicture, nullptr));
    sqlite3_finalize(std::exchange(m_addToMap, nullptr));
    sqlite3_close(std::exchange(m_connection, nullptr));
}

void MbTilesWriter::Begin()
{
    Check(sqlite3_open_v2(m_file.Name().c_str(),
                          &m_connection,
                          SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                          nullptr),
          SQLITE_OK);
    Execute(kSchema);
    m_addPicture = Prepare("INSERT INTO images(tile_data) VALUES(?1)");
    m_addToMap = Prepare("INSERT OR REPLACE INTO map VALUES(?1, ?2, ?3, ?4)");
}

sqlite3_stmt* MbTilesWriter::Prepare(const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    Check(sqlite3_prepare_v2(m_connection, sql, -1, &statement, nullptr), SQLITE_OK);
    return statement;
}

void MbTilesWriter::Add(const ArchivePlace& place, std::string_view bytes)
{
    AddToMap(place, NumberOf(bytes));
}

long long MbTilesWriter::NumberOf(std::string_view bytes)
{
    if (bytes.size() > kMaxSmallBytes)
        return AddPicture(bytes);
    std::string key(bytes);
    const auto found = m_small.find(key);
    if (found != m_small.end())
        return found->second;
    const long long number = AddPicture(bytes);
    if (m_small.size() < kMaxSmallPictures)
        m_small.emplace(std::move(key), number);
    return number;
}

long long MbTilesWriter::AddPicture(std::string_view bytes)
{
    sqlite3_bind_blob64(m_addPicture, 1, bytes.data(), bytes.size(), SQLITE_STATIC);
    const int code = sqlite3_step(m_addPicture);
    sqlite3_reset(m_addPicture);
    sqlite3_clear_bindings(m_addPicture);
    Check(code, SQLITE_DONE);
    ++m_nPictures;
    return sqlite3_last_insert_rowid(m_connection);
}

void MbTilesWriter::AddToMap(const ArchivePlace& place, long long picture)
{
    sqlite3_bind_int(m_addToMap, 1, place.m_nLevel);
    sqlite3_bind_int(m_addToMap, 2, place.m_nCol);
    sqlite3_bind_int(m_addToMap, 3, place.m_nRow);
    sqlite3_bind_int64(m_addToMap, 4, picture);
    const int code = sqlite3_step(m_addToMap);
    sqlite3_reset(m_addToMap);
    Check(code, SQLITE_DONE);
}

void MbTilesWriter::Finish(const KxTileArchiveMetadata& metadata, KxTileArchiveReport& report)
{
    report.m_nPictures = m_nPictures;
    WriteMetadata(metadata, report);
    Execute("COMMIT");
    Close();
    m_file.Commit();
}

void MbTilesWriter::WriteMetadata(const KxTileArchiveMetadata& metadata,
                                  const KxTileArchiveReport& report)
{
    const KxRect2d& bounds = report.m_bounds;
    WriteValue("name", metadata.m_strName.Cstr());
    WriteValue("description", metadata.m_strDescription.Cstr());
    WriteValue("format", report.m_strFormat.Cstr());
    WriteValue("bounds",
               Degrees(bounds.m_dLeft) + "," + Degrees(bounds.m_dBottom) + "," +
                   Degrees(bounds.m_dRight) + "," + Degrees(bounds.m_dTop));
    WriteValue("center",
               Degrees(report.m_centre.x) + "," + Degrees(report.m_centre.y) + "," +
                   std::to_string(report.m_nMaxLevel));
    WriteValue("minzoom", std::to_string(report.m_nMinLevel));
    WriteValue("maxzoom", std::to_string(report.m_nMaxLevel));
    WriteValue("type", "baselayer");
    WriteValue("version", "1");
    if (metadata.m_strAttribution.IsEmpty() == 0)
        WriteValue("attribution", metadata.m_strAttribution.Cstr());
    if (metadata.m_strOrigin.IsEmpty() == 0)
        WriteValue(kOriginKey, metadata.m_strOrigin.Cstr());
}

void MbTilesWriter::WriteValue(const char* name, const std::string& value)
{
    const std::unique_ptr<char, decltype(&sqlite3_free)> sql(
        sqlite3_mprintf("INSERT INTO metadata VALUES(%Q, %Q)", name, value.c_str()), &sqlite3_free);
    if (sql == nullptr)
        throw std::bad_alloc();
    Execute(sql.get());
}

void MbTilesWriter::Check(int code, int expected)
{
    if (code != expected)
        throw ArchiveError(m_connection == nullptr ? sqlite3_errstr(code)
                                                   : sqlite3_errmsg(m_connection));
}

void MbTilesWriter::Execute(const char* sql)
{
    Check(sqlite3_exec(m_connection, sql, nullptr, nullptr, nullptr), SQLITE_OK);
}

} // namespace KxC
