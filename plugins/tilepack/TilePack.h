// SPDX-License-Identifier: MIT
#pragma once

#include "KxRect2d.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

namespace KxC {

/// A tile of the Web Mercator grid; rows count from the south.
struct TileAddress
{
    int m_nLevel;
    int m_nRow;
    int m_nCol;

    /// Whether the grid has such a tile; levels end at kMaxLevel.
    bool IsOnGrid() const;

    static constexpr int kMaxLevel = 30;
};

/// The stored bytes of one tile, in `malloc` memory.
class TileBytes
{
public:
    /// Makes room for `size` bytes; throws std::bad_alloc where there is none.
    void Allocate(std::size_t size);

    unsigned char* Data() const { return m_bytes.get(); }
    unsigned int Size() const { return m_nSize; }
    /// Hands the bytes over; the caller frees them.
    unsigned char* Release();

private:
    struct Free
    {
        void operator()(unsigned char* bytes) const { std::free(bytes); }
    };
    std::unique_ptr<unsigned char, Free> m_bytes;
    unsigned int m_nSize = 0;
};

/// Why a pack cannot be opened, or a tile of it not be read, for people.
struct PackError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// A file of Web Mercator tiles that are pictures. Whatever the file holds is taken from anybody:
/// sizes are bounded before memory is taken. Any thread, several at once.
class TilePack
{
public:
    /// Bytes of one tile; larger ones cannot be read.
    static constexpr unsigned int kMaxTileBytes = 64U << 20;

    /// Tells the format by the content.
    /// @throws PackError
    static std::unique_ptr<TilePack> Open(const std::string& path);

    virtual ~TilePack();
    TilePack(const TilePack&) = delete;
    TilePack& operator=(const TilePack&) = delete;

    /// First and last level that has tiles.
    int MinLevel() const { return m_nMinLevel; }
    int MaxLevel() const { return m_nMaxLevel; }
    /// Degrees, within the Web Mercator square.
    const KxRect2d& Bounds() const { return m_bounds; }

    /// @param bytes  filled where there is a tile
    /// @return false where the pack has no such tile; empty ones count as none
    /// @throws PackError when it cannot be read
    virtual bool Read(const TileAddress& address, TileBytes& bytes) = 0;

protected:
    TilePack() = default;

    int m_nMinLevel = 0;
    int m_nMaxLevel = 0;
    KxRect2d m_bounds;
};

} // namespace KxC
