// SPDX-License-Identifier: MIT
#include "TilePack.h"

#include "MbTilesPack.h"
#include "PackFile.h"
#include "PmTilesPack.h"

#include <algorithm>
#include <array>
#include <new>
#include <string_view>
#include <utility>

namespace KxC {

namespace {

std::string_view FirstBytes(const PackFile& file, std::array<unsigned char, 16>& bytes)
{
    const auto count =
        static_cast<std::size_t>(std::min<unsigned long long>(bytes.size(), file.Size()));
    if (!file.Read(0, {bytes.data(), count}))
        throw PackError("it cannot be read");
    return {reinterpret_cast<const char*>(bytes.data()), count};
}

} // namespace

bool TileAddress::IsOnGrid() const
{
    if (m_nLevel < 0 || m_nLevel > kMaxLevel)
        return false;
    const int edge = 1 << m_nLevel;
    return m_nRow >= 0 && m_nRow < edge && m_nCol >= 0 && m_nCol < edge;
}

void TileBytes::Allocate(std::size_t size)
{
    m_bytes.reset(static_cast<unsigned char*>(std::malloc(std::max<std::size_t>(size, 1))));
    if (m_bytes == nullptr)
        throw std::bad_alloc();
    m_nSize = static_cast<unsigned int>(size);
}

unsigned char* TileBytes::Release()
{
    m_nSize = 0;
    return m_bytes.release();
}

TilePack::~TilePack() = default;

std::unique_ptr<TilePack> TilePack::Open(const std::string& path)
{
    PackFile file(path);
    std::array<unsigned char, 16> bytes{};
    const std::string_view start = FirstBytes(file, bytes);
    if (start.starts_with("PMTiles"))
        return std::make_unique<PmTilesPack>(std::move(file));
    if (start == std::string_view("SQLite format 3\0", 16))
        return std::make_unique<MbTilesPack>(path, file);
    throw PackError("it is neither an MBTiles database nor a PMTiles archive");
}

} // namespace KxC
