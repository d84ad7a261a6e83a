// SPDX-License-Identifier: MIT
#pragma once

#include "TileArchive.h"

#include <string>
#include <string_view>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

namespace KxC {

/// An MBTiles file. Small pictures that come again, as the sea's do, are stored once.
class MbTilesWriter : public TileArchive
{
public:
    explicit MbTilesWriter(const std::string& path);
    ~MbTilesWriter() override;

    void Add(const ArchivePlace& place, std::string_view bytes) override;
    void Finish(const KxTileArchiveMetadata& metadata, KxTileArchiveReport& report) override;

private:
    void Begin();
    long long NumberOf(std::string_view bytes);
    long long AddPicture(std::string_view bytes);
    void AddToMap(const ArchivePlace& place, long long picture);
    void WriteMetadata(const KxTileArchiveMetadata& metadata, const KxTileArchiveReport& report);
    void WriteValue(const char* name, const std::string& value);
    void Check(int code, int expected);
    void Execute(const char* sql);
    sqlite3_stmt* Prepare(const char* sql);
    void Close();

    NascentFile m_file;
    sqlite3* m_connection = nullptr;
    sqlite3_stmt* m_addPicture = nullptr;
    sqlite3_stmt* m_addToMap = nullptr;
    std::unordered_map<std::string, long long> m_small; ///< pictures already there, by their bytes
    unsigned long long m_nPictures = 0;
};

} // namespace KxC
