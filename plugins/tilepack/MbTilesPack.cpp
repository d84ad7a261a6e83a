// SPDX-License-Identifier: MIT
#include "MbTilesPack.h"

#include "KxImgUtility.h"
#include "KxTileArchivePlaces.h"
#include "PackBounds.h"

#include <optional>
#include <utility>

namespace KxC {

namespace {

/// Connections kept for the next read, with some hundred kilobytes each.
constexpr std::size_t kMaxIdle = 16;

bool IsBlock(const long long (&edges)[4], int level)
{
    const long long last = (1LL << level) - 1;
    return edges[0] >= 0 && edges[0] <= edges[1] && edges[1] <= last && edges[2] >= 0 &&
           edges[2] <= edges[3] && edges[3] <= last;
}

/// Whether a tile is no picture. One that cannot be read says nothing about the others.
bool IsOfOtherKind(MbTilesConnection& connection, const TileAddress& address)
try {
    TileBytes bytes;
    return connection.ReadTile(address, bytes) &&
           KxImgUtility::TellImgExt(bytes.Data(), bytes.Size()).IsEmpty() != 0;
} catch (const PackError&) {
    return false;
}

} // namespace

MbTilesPack::MbTilesPack(const std::string& path, const PackFile& file, long long steps)
    : m_name(KxTileArchivePlaces::NameForSqlite(path.c_str()).Cstr()), m_budget(file.Size(), steps)
{
    m_idle.reserve(kMaxIdle); // giving back must not fail
    auto connection = std::make_unique<MbTilesConnection>(m_name, m_budget);
    FindLevels(*connection);
    CheckFormat(*connection);
    FindBounds(*connection);
    GiveBack(std::move(connection));
}

void MbTilesPack::FindLevels(MbTilesConnection& connection)
{
    long long first = 0;
    long long last = 0;
    const bool found =
        connection.ReadNumbers(
            "SELECT min(zoom_level) FROM tiles WHERE zoom_level BETWEEN 0 AND 30", 0, &first, 1) &&
        connection.ReadNumbers(
            "SELECT max(zoom_level) FROM tiles WHERE zoom_level BETWEEN 0 AND 30", 0, &last, 1);
    if (!found || first < 0 || last > TileAddress::kMaxLevel || first > last)
        throw PackError("it holds no tiles that can be read");
    m_nMinLevel = static_cast<int>(first);
    m_nMaxLevel = static_cast<int>(last);
}

void MbTilesPack::CheckFormat(MbTilesConnection& connection) const
{
    std::string format;
    connection.ReadText("SELECT value FROM metadata WHERE name = 'format' LIMIT 1", format);
    if (format == "pbf" || format == "mvt")
        throw PackError("its tiles are vectors, not pictures");
    long long place[2] = {};
    if (!connection.ReadNumbers(
            "SELECT tile_column, tile_row FROM tiles WHERE zoom_level = ?1 LIMIT 1",
            m_nMinLevel,
            place,
            2))
        throw PackError("it holds no tiles that can be read");
    if (IsOfOtherKind(connection,
                      {m_nMinLevel, static_cast<int>(place[1]), static_cast<int>(place[0])}))
        throw PackError("its tiles are of another kind than PNG, JPEG and WebP");
}

void MbTilesPack::FindBounds(MbTilesConnection& connection)
{
    std::string text;
    connection.ReadText("SELECT value FROM metadata WHERE name = 'bounds' LIMIT 1", text);
    std::optional<KxRect2d> bounds = ParseBounds(text);
    long long edges[4] = {};
    if (!bounds &&
        connection.ReadNumbers("SELECT min(tile_row), max(tile_row), min(tile_column),"
                               " max(tile_column) FROM tiles WHERE zoom_level = ?1",
                               m_nMaxLevel,
                               edges,
                               4) &&
        IsBlock(edges, m_nMaxLevel))
        bounds = BoundsOfTiles(m_nMaxLevel,
                               {static_cast<int>(edges[0]),
                                static_cast<int>(edges[1]),
                                static_cast<int>(edges[2]),
                                static_cast<int>(edges[3])});
    m_bounds = bounds.value_or(WorldBounds());
}

bool MbTilesPack::Read(const TileAddress& address, TileBytes& bytes)
{
    if (!address.IsOnGrid())
        return false;
    std::unique_ptr<MbTilesConnection> connection = Borrow();
    const bool isThere = connection->ReadTile(address, bytes); // one that fails is not used again
    GiveBack(std::move(connection));
    return isThere;
}

std::unique_ptr<MbTilesConnection> MbTilesPack::Borrow()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_idle.empty()) {
            std::unique_ptr<MbTilesConnection> connection = std::move(m_idle.back());
            m_idle.pop_back();
            return connection;
        }
    }
    return std::make_unique<MbTilesConnection>(m_name, m_budget);
}

void MbTilesPack::GiveBack(std::unique_ptr<MbTilesConnection> connection)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_idle.size() < kMaxIdle)
        m_idle.push_back(std::move(connection));
}

} // namespace KxC
