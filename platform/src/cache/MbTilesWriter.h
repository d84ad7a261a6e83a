// SPDX-License-Identifier: MIT
#pragma once

#include "TileDatabase.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

namespace KxC {

/// Writes an MBTiles file under a temporary name beside its own, and renames it when it is whole.
/// Small pictures that come again, as the sea's do, are stored once.
class MbTilesWriter
{
public:
    explicit MbTilesWriter(std::string path);
    /// Removes what was not finished.
    ~MbTilesWriter();
    MbTilesWriter(const MbTilesWriter&) = delete;
    MbTilesWriter& operator=(const MbTilesWriter&) = delete;

    bool Begin();
    /// Tiles without bytes, and those that lie on no level, are counted and left out.
    bool Add(const TilePlace& place, const unsigned char* bytes, unsigned int size);
    /// Writes the metadata and gives the file its name.
    bool Finish(const KxRawDataExportOptions& options, KxRawDataExportReport& report);

    /// What went wrong, for people; empty when nothing did.
    const std::string& GetError() const { return m_error; }

private:
    /// Columns and rows in use on one level.
    struct Extent
    {
        int m_nMinCol;
        int m_nMaxCol;
        int m_nMinRow;
        int m_nMaxRow;
    };

    long long NumberOf(std::string_view bytes);
    long long AddPicture(std::string_view bytes);
    bool AddToMap(const TilePlace& place, long long picture);
    void Extend(const TilePlace& place);
    void Describe(KxRawDataExportReport& report) const;
    bool WriteMetadata(const KxRawDataExportOptions& options, const KxRawDataExportReport& report);
    bool WriteValue(const char* name, const std::string& value);
    bool Rename();
    bool Check(int code, int expected);
    bool Execute(const char* sql);
    void Close();

    const std::string m_path;
    std::string m_temporary;
    std::string m_error;
    sqlite3* m_connection = nullptr;
    sqlite3_stmt* m_addPicture = nullptr;
    sqlite3_stmt* m_addToMap = nullptr;
    std::unordered_map<std::string, long long> m_small; ///< pictures already there, by their bytes
    std::map<int, Extent> m_extents;                    ///< by level
    std::map<std::string, unsigned long long> m_formats;
    unsigned long long m_nTiles = 0;
    unsigned long long m_nPictures = 0;
    unsigned long long m_nSkipped = 0;
};

} // namespace KxC
