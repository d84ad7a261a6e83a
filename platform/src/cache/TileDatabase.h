// SPDX-License-Identifier: MIT
#pragma once

#include "KxRawDataTypeCache.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace KxC {

/// How an operation on a tile database ended.
enum class DatabaseResult {
    Done,
    Missing, ///< there is no file, or nothing in it
    Refused, ///< another program's file, or one of a later version
    Damaged, ///< not a database, or one that contradicts itself
    Failed,  ///< busy, full, read-only, not to be opened
};

/// Position of a tile; rows count from the south.
struct TilePlace
{
    int m_nLevel;
    int m_nRow;
    int m_nCol;
};

struct TileCounts
{
    unsigned long long m_nTiles = 0;
    unsigned long long m_nNoData = 0;
};

/// One connection to the file of one sub-tree, with its statements prepared. One thread at a time.
/// Every operation that comes to SQLite has a KxFileSizeGuard: reading may write to the log's index.
class TileDatabase
{
public:
    static constexpr unsigned int kMaxTileBytes = 64U << 20;

    TileDatabase();
    ~TileDatabase();
    TileDatabase(const TileDatabase&) = delete;
    TileDatabase& operator=(const TileDatabase&) = delete;

    /// Opens the file at `path`, and makes it where there is none and `create` is set. Without it
    /// nothing is written, and a file that lies where nothing can be written is read all the same.
    DatabaseResult Open(const std::string& path, bool create);

    bool IsWritable() const { return m_writable; }
    /// Whether the file is read without locks, for want of a place to put them.
    bool IsImmutable() const { return m_immutable.has_value(); }
    /// Whether the file at the path is still the one that was opened.
    bool IsCurrent() const;
    /// Whether the path leads to another file, or none, by now; answers after a failed Open too.
    bool HasMoved() const;

    /// @return Missing when nothing is known of the place
    DatabaseResult Load(const TilePlace& place, KxSRawDataTypeCacheItem& item);
    DatabaseResult Save(const TilePlace& place, const unsigned char* bytes, unsigned int size);
    DatabaseResult SaveNoData(const TilePlace& place);
    DatabaseResult Count(TileCounts& counts);
    /// Deletes every tile and marker and gives their space back.
    DatabaseResult DeleteAll();

    /// The first stored place after `place`, by level, column and row.
    /// @return Missing when there is none
    DatabaseResult Next(TilePlace& place);
    /// Puts into words where the file contradicts itself.
    DatabaseResult CheckIntegrity(std::vector<std::string>& problems);
    DatabaseResult ReadDescription(std::string& description);
    DatabaseResult SaveDescription(const std::string& description);

private:
    enum Statement {
        Statement_Load,
        Statement_IsNoData,
        Statement_Save,
        Statement_SaveNoData,
        Statement_Next,
        Statement_Number
    };
    struct Stamp
    {
        std::uint64_t m_nDevice;
        std::uint64_t m_nFile;
        std::int64_t m_nSize;
        std::int64_t m_nSeconds;
        std::int64_t m_nNanoseconds;
        bool operator==(const Stamp&) const = default;
    };
    /// What a file says of itself.
    struct Identity
    {
        long long m_nApplication = 0;
        long long m_nVersion = 0;
        bool m_isEmpty = false;
    };
    class Binding;

    static std::optional<Stamp> StampOf(const std::string& path);

    DatabaseResult OpenShared(bool create);
    DatabaseResult OpenImmutable();
    int Connect(const std::string& name, int flags);
    DatabaseResult Identify(bool create);
    DatabaseResult CreateSchema();
    int ReadIdentity(Identity& identity);
    bool IsEmpty(int& result);
    int ReadNumber(const char* sql, long long& number);
    int ReadTexts(const char* sql, std::vector<std::string>& texts);
    int Execute(const char* sql);
    int EnterWal();
    DatabaseResult Prepare();
    DatabaseResult ReadTile(sqlite3_stmt* statement, KxSRawDataTypeCacheItem& item);
    DatabaseResult Change(Statement which, const TilePlace& place);
    void Close();

    sqlite3* m_connection = nullptr;
    std::array<sqlite3_stmt*, Statement_Number> m_statements{};
    std::string m_path;
    std::optional<Stamp> m_immutable; ///< set when the file is read as one that never changes
    bool m_writable = false;
};

/// What an SQLite result code means for the cache.
DatabaseResult ResultOf(int code);

} // namespace KxC
