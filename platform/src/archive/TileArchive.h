// SPDX-License-Identifier: MIT
#pragma once

#include "KxTileArchiveWriter.h"

#include <bitset>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace KxC {

/// Position of a tile; rows count from the south.
struct ArchivePlace
{
    int m_nLevel;
    int m_nRow;
    int m_nCol;
};

/// Why an archive cannot be written, for people.
struct ArchiveError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Under which archives keep KxTileArchiveMetadata::m_strOrigin; no standard names it.
inline constexpr const char* kOriginKey = "kxtile_origin";

/// The format of a picture as MBTiles names it; empty for none that is known.
std::string FormatOf(std::string_view bytes);

/// Says what errno means.
[[noreturn]] void ThrowErrno();

/// The columns of a level that have tiles, in 1024 strips of the earth: as few as tell a gap.
class UsedStrips
{
public:
    void Add(int level, int column);
    /// The longitude amid the used strips where these lie on both sides of the antimeridian and
    /// leave a gap elsewhere.
    std::optional<double> CentreAcrossAntimeridian() const;

private:
    static constexpr int kBits = 10;
    static constexpr std::size_t kStrips = 1U << kBits;
    std::bitset<kStrips> m_used;
};

/// What the tiles of an archive have in common.
class TileSurvey
{
public:
    void Add(const ArchivePlace& place, std::string_view bytes);
    void Skip() { ++m_nSkipped; }

    /// Fills all but the number of pictures.
    /// @throws ArchiveError when there is no tile
    void Describe(KxTileArchiveReport& report) const;

private:
    /// Columns and rows in use on one level.
    struct Extent
    {
        int m_nMinCol;
        int m_nMaxCol;
        int m_nMinRow;
        int m_nMaxRow;
        UsedStrips m_strips;
    };

    std::map<int, Extent> m_extents; ///< by level
    std::map<std::string, unsigned long long> m_formats;
    unsigned long long m_nTiles = 0;
    unsigned long long m_nSkipped = 0;
};

/// A file under a name of its own beside the one that it shall get; gone again unless it gets it.
class NascentFile
{
public:
    /// @param path  the name that the file shall have
    explicit NascentFile(std::string path);
    ~NascentFile();
    NascentFile(const NascentFile&) = delete;
    NascentFile& operator=(const NascentFile&) = delete;

    /// Nothing is there yet.
    const std::string& Name() const { return m_name; }
    /// Gives the file its name when its bytes are on disk. Nobody may have it open for writing.
    /// @throws ArchiveError
    void Commit();

private:
    const std::string m_path;
    std::string m_name; ///< empty once it was renamed
};

/// One form of archive. The operations throw ArchiveError, and std::bad_alloc.
class TileArchive
{
public:
    virtual ~TileArchive();
    TileArchive(const TileArchive&) = delete;
    TileArchive& operator=(const TileArchive&) = delete;

    /// @param place  lies on the grid
    /// @param bytes  not empty
    virtual void Add(const ArchivePlace& place, std::string_view bytes) = 0;
    /// @param report  complete but for the number of pictures, which is filled
    virtual void Finish(const KxTileArchiveMetadata& metadata, KxTileArchiveReport& report) = 0;

protected:
    TileArchive() = default;
};

} // namespace KxC
