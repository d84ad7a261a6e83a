// SPDX-License-Identifier: MIT
#include "MbTilesWriter.h"

#include "KxFileSizeGuard.h"
#include "KxMath.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <utility>

namespace KxC {

namespace {

constexpr int kMaxLevel = 30;
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

std::string TemporaryName(const std::string& path)
{
    static std::atomic<unsigned int> s_count{0};
    std::array<char, 64> name{};
    std::snprintf(name.data(),
                  name.size(),
                  ".kxtile-%ld-%u.mbtiles",
                  static_cast<long>(::getpid()),
                  s_count.fetch_add(1));
    return path.substr(0, path.rfind('/') + 1) + name.data();
}

bool IsOnGrid(const TilePlace& place)
{
    if (place.m_nLevel < 0 || place.m_nLevel > kMaxLevel)
        return false;
    const int edge = 1 << place.m_nLevel;
    return place.m_nCol >= 0 && place.m_nCol < edge && place.m_nRow >= 0 && place.m_nRow < edge;
}

/// As MBTiles names formats; empty for none that it knows.
std::string FormatOf(std::string_view bytes)
{
    constexpr std::string_view kPng("\x89PNG\r\n\x1a\n", 8);
    if (bytes.substr(0, 8) == kPng)
        return "png";
    if (bytes.substr(0, 3) == "\xff\xd8\xff")
        return "jpg";
    if (bytes.substr(0, 4) == "RIFF" && bytes.size() > 11 && bytes.substr(8, 4) == "WEBP")
        return "webp";
    return bytes.substr(0, 4) == "GIF8" ? "gif" : "";
}

/// Degrees.
KxPoint2d DegreesOf(double x, double y)
{
    const KxPoint2d radians = KxMath::WebMecator2LatLon(x, y);
    constexpr double kDegree = std::numbers::pi / 180.0;
    return {radians.x / kDegree, radians.y / kDegree};
}

std::string Degrees(double value)
{
    // "%f" would follow the process's locale.
    std::array<char, 32> text{};
    const long long millionths = std::llround(std::fabs(value) * 1e6);
    std::snprintf(text.data(),
                  text.size(),
                  "%s%lld.%06lld",
                  value < 0.0 && millionths > 0 ? "-" : "",
                  millionths / 1000000,
                  millionths % 1000000);
    return text.data();
}

} // namespace

MbTilesWriter::MbTilesWriter(std::string path)
    : m_path(std::move(path)), m_temporary(TemporaryName(m_path))
{
}

MbTilesWriter::~MbTilesWriter()
{
    Close();
    if (!m_temporary.empty())
        ::unlink(m_temporary.c_str());
}

void MbTilesWriter::Close()
{
    const KxFileSizeGuard guard;
    sqlite3_finalize(std::exchange(m_addPicture, nullptr));
    sqlite3_finalize(std::exchange(m_addToMap, nullptr));
    sqlite3_close(std::exchange(m_connection, nullptr));
}

bool MbTilesWriter::Begin()
{
    const KxFileSizeGuard guard;
    ::unlink(m_temporary.c_str()); // a killed process with our number may have left one
    return Check(sqlite3_open_v2(m_temporary.c_str(),
                                 &m_connection,
                                 SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                                 nullptr),
                 SQLITE_OK) &&
           Execute(kSchema) &&
           Check(sqlite3_prepare_v2(m_connection,
                                    "INSERT INTO images(tile_data) VALUES(?1)",
                                    -1,
                                    &m_addPicture,
                                    nullptr),
                 SQLITE_OK) &&
           Check(sqlite3_prepare_v2(m_connection,
                                    "INSERT INTO map VALUES(?1, ?2, ?3, ?4)",
                                    -1,
                                    &m_addToMap,
                                    nullptr),
                 SQLITE_OK);
}

bool MbTilesWriter::Add(const TilePlace& place, const unsigned char* bytes, unsigned int size)
{
    const KxFileSizeGuard guard;
    if (bytes == nullptr || size == 0 || !IsOnGrid(place)) {
        ++m_nSkipped;
        return true;
    }
    const std::string_view view(reinterpret_cast<const char*>(bytes), size);
    const long long picture = NumberOf(view);
    if (picture == 0 || !AddToMap(place, picture))
        return false;
    Extend(place);
    ++m_formats[FormatOf(view)];
    ++m_nTiles;
    return true;
}

/// The picture's number, 0 when it cannot be written.
long long MbTilesWriter::NumberOf(std::string_view bytes)
{
    if (bytes.size() > kMaxSmallBytes)
        return AddPicture(bytes);
    std::string key(bytes);
    const auto found = m_small.find(key);
    if (found != m_small.end())
        return found->second;
    const long long number = AddPicture(bytes);
    if (number != 0 && m_small.size() < kMaxSmallPictures)
        m_small.emplace(std::move(key), number);
    return number;
}

long long MbTilesWriter::AddPicture(std::string_view bytes)
{
    sqlite3_bind_blob(m_addPicture, 1, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
    const bool added = Check(sqlite3_step(m_addPicture), SQLITE_DONE);
    sqlite3_reset(m_addPicture);
    m_nPictures += added ? 1 : 0;
    return added ? sqlite3_last_insert_rowid(m_connection) : 0;
}

bool MbTilesWriter::AddToMap(const TilePlace& place, long long picture)
{
    sqlite3_bind_int(m_addToMap, 1, place.m_nLevel);
    sqlite3_bind_int(m_addToMap, 2, place.m_nCol);
    sqlite3_bind_int(m_addToMap, 3, place.m_nRow);
    sqlite3_bind_int64(m_addToMap, 4, picture);
    const bool added = Check(sqlite3_step(m_addToMap), SQLITE_DONE);
    sqlite3_reset(m_addToMap);
    return added;
}

void MbTilesWriter::Extend(const TilePlace& place)
{
    const Extent own{place.m_nCol, place.m_nCol, place.m_nRow, place.m_nRow};
    Extent& extent = m_extents.try_emplace(place.m_nLevel, own).first->second;
    extent.m_nMinCol = std::min(extent.m_nMinCol, place.m_nCol);
    extent.m_nMaxCol = std::max(extent.m_nMaxCol, place.m_nCol);
    extent.m_nMinRow = std::min(extent.m_nMinRow, place.m_nRow);
    extent.m_nMaxRow = std::max(extent.m_nMaxRow, place.m_nRow);
}

/// The bounds are those of the last level: readers size the picture by them at that level.
void MbTilesWriter::Describe(KxRawDataExportReport& report) const
{
    const auto& [level, extent] = *m_extents.rbegin();
    report.m_nTiles = m_nTiles;
    report.m_nPictures = m_nPictures;
    report.m_nSkipped = m_nSkipped;
    report.m_nMinLevel = m_extents.begin()->first;
    report.m_nMaxLevel = level;
    KxRect2d southWest;
    KxRect2d northEast;
    KxMath::CalcWMTileBounds(southWest, level, extent.m_nMinRow, extent.m_nMinCol, 1);
    KxMath::CalcWMTileBounds(northEast, level, extent.m_nMaxRow, extent.m_nMaxCol, 1);
    const KxPoint2d low = DegreesOf(southWest.m_dLeft, southWest.m_dBottom);
    const KxPoint2d high = DegreesOf(northEast.m_dRight, northEast.m_dTop);
    report.m_bounds = KxRect2d(low.x, high.y, high.x, low.y);
    const auto most = std::max_element(
        m_formats.begin(), m_formats.end(), [](const auto& one, const auto& other) {
            return one.second < other.second;
        });
    report.m_strFormat = most->first.c_str();
}

bool MbTilesWriter::Finish(const KxRawDataExportOptions& options, KxRawDataExportReport& report)
{
    const KxFileSizeGuard guard;
    if (m_nTiles == 0) {
        report.m_nSkipped = m_nSkipped;
        m_error = "there is no tile to write";
        return false;
    }
    Describe(report);
    return WriteMetadata(options, report) && Execute("COMMIT") && Rename();
}

bool MbTilesWriter::WriteMetadata(const KxRawDataExportOptions& options,
                                  const KxRawDataExportReport& report)
{
    const KxRect2d& bounds = report.m_bounds;
    const std::string corners = Degrees(bounds.m_dLeft) + "," + Degrees(bounds.m_dBottom) + "," +
                                Degrees(bounds.m_dRight) + "," + Degrees(bounds.m_dTop);
    const std::string center = Degrees((bounds.m_dLeft + bounds.m_dRight) / 2.0) + "," +
                               Degrees((bounds.m_dBottom + bounds.m_dTop) / 2.0) + "," +
                               std::to_string(report.m_nMaxLevel);
    return WriteValue("name", options.m_strName.Cstr()) &&
           WriteValue("description", options.m_strDescription.Cstr()) &&
           WriteValue("format", report.m_strFormat.Cstr()) && WriteValue("bounds", corners) &&
           WriteValue("center", center) &&
           WriteValue("minzoom", std::to_string(report.m_nMinLevel)) &&
           WriteValue("maxzoom", std::to_string(report.m_nMaxLevel)) &&
           WriteValue("type", "baselayer") && WriteValue("version", "1") &&
           (options.m_strAttribution.IsEmpty() != 0 ||
            WriteValue("attribution", options.m_strAttribution.Cstr()));
}

bool MbTilesWriter::WriteValue(const char* name, const std::string& value)
{
    char* const sql = sqlite3_mprintf("INSERT INTO metadata VALUES(%Q, %Q)", name, value.c_str());
    const bool done = sql != nullptr && Execute(sql);
    sqlite3_free(sql);
    return done;
}

bool MbTilesWriter::Rename()
{
    Close();
    const int file = ::open(m_temporary.c_str(), O_RDONLY | O_CLOEXEC);
    const bool whole = file >= 0 && ::fsync(file) == 0;
    if (file >= 0)
        ::close(file);
    if (!whole || std::rename(m_temporary.c_str(), m_path.c_str()) != 0) {
        m_error = std::strerror(errno);
        return false;
    }
    m_temporary.clear();
    return true;
}

bool MbTilesWriter::Check(int code, int expected)
{
    if (code != expected)
        m_error = m_connection == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(m_connection);
    return code == expected;
}

bool MbTilesWriter::Execute(const char* sql)
{
    return Check(sqlite3_exec(m_connection, sql, nullptr, nullptr, nullptr), SQLITE_OK);
}

} // namespace KxC
