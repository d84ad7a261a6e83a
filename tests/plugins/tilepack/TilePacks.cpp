// SPDX-License-Identifier: MIT
#include "TilePacks.h"

#include "KxFile.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace KxC::Test {

namespace {

using Bytes = std::unique_ptr<unsigned char, decltype(&std::free)>;

} // namespace

std::unique_ptr<KxRasterDataAccessor> NewReader(const char* extension)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): once, and other threads wait for it here
    static const int set = ::setenv("KXTILE_PLUGIN_PATH", KX_PLUGIN_FOLDER, 1);
    // No test writes to the user's log: where it cannot be written, it is passed over.
    static const bool muted = (KxFile::m_strAppCachePath = "/proc/kxtile", true);
    static_cast<void>(set + (muted ? 1 : 0));
    return std::unique_ptr<KxRasterDataAccessor>(static_cast<KxRasterDataAccessor*>(
        m_gPluginManager.FindPluginByExt("AccessorPlugin", extension)));
}

std::unique_ptr<KxRasterDataAccessor> OpenPack(const std::string& path)
{
    std::unique_ptr<KxRasterDataAccessor> reader =
        NewReader(std::filesystem::path(path).extension().c_str());
    return reader != nullptr && reader->Open(path.c_str()) != 0 ? std::move(reader) : nullptr;
}

Stored ReadStored(KxRasterDataAccessor& reader, int level, int row, int col)
{
    // Whatever a caller left in them counts for nothing.
    unsigned char junk = 0;
    unsigned char* bytes = &junk;
    unsigned int size = 99;
    const int status = reader.ReadTileData(level, row, col, bytes, size);
    const Bytes owner(bytes, &std::free);
    return {status,
            bytes == nullptr,
            bytes == nullptr ? std::string()
                             : std::string(reinterpret_cast<const char*>(bytes), size)};
}

std::unique_ptr<KxImageData> ReadImage(KxRasterDataAccessor& reader, int level, int row, int col)
{
    KxImageData junk(1, 1, KxPixelFormat_RGB);
    KxImageData* image = &junk;
    reader.ReadTileImage(image, level, row, col);
    return std::unique_ptr<KxImageData>(image);
}

MbTilesFile::MbTilesFile(std::string path) : m_path(std::move(path))
{
    if (sqlite3_open(m_path.c_str(), &m_connection) != SQLITE_OK)
        throw std::runtime_error("no database");
}

MbTilesFile::~MbTilesFile()
{
    sqlite3_close(m_connection);
}

void MbTilesFile::CreateTables()
{
    Execute("CREATE TABLE metadata (name text, value text);"
            "CREATE TABLE tiles (zoom_level integer, tile_column integer, tile_row integer,"
            " tile_data blob);"
            "CREATE UNIQUE INDEX tile_index on tiles (zoom_level, tile_column, tile_row);");
}

void MbTilesFile::AddTile(int level, int row, int col, const std::string& bytes)
{
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(
        m_connection, "INSERT INTO tiles VALUES(?1, ?2, ?3, ?4)", -1, &statement, nullptr);
    sqlite3_bind_int(statement, 1, level);
    sqlite3_bind_int(statement, 2, col);
    sqlite3_bind_int(statement, 3, row);
    sqlite3_bind_blob(statement, 4, bytes.data(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
    const int code = sqlite3_step(statement);
    sqlite3_finalize(statement);
    if (code != SQLITE_DONE)
        throw std::runtime_error(sqlite3_errmsg(m_connection));
}

void MbTilesFile::AddMetadata(const std::string& name, const std::string& value)
{
    Execute("INSERT INTO metadata VALUES('" + name + "', '" + value + "')");
}

void MbTilesFile::Execute(const std::string& sql)
{
    if (sqlite3_exec(m_connection, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(m_connection));
}

const std::string& MbTilesFile::Close()
{
    sqlite3_close(std::exchange(m_connection, nullptr));
    return m_path;
}

} // namespace KxC::Test
