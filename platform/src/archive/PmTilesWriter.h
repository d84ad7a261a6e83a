// SPDX-License-Identifier: MIT
#pragma once

#include "KxPmTiles.h"
#include "SpoolFile.h"
#include "TileArchive.h"
#include "TileOrder.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace KxC {

/// A PMTiles archive. The pictures wait in a file until all are there, since they lie in the
/// archive in the order of their places.
class PmTilesWriter : public TileArchive
{
public:
    explicit PmTilesWriter(const std::string& path);
    ~PmTilesWriter() override;

    void Add(const ArchivePlace& place, std::string_view bytes) override;
    void Finish(const KxTileArchiveMetadata& metadata, KxTileArchiveReport& report) override;

private:
    /// Bytes in the file of pictures.
    struct Picture
    {
        unsigned long long m_nOffset;
        unsigned int m_nLength;
    };
    /// An entry of the directories, and where its bytes wait.
    struct PlacedEntry
    {
        KxPmTilesEntry m_entry;
        unsigned long long m_nWaiting;
        unsigned long long m_nNew; ///< 1 where nothing before it had its bytes
    };
    using Directories = std::vector<unsigned char>;

    /// @throws ArchiveError where the first of all tiles is of no type that the format has
    void CountType(std::string_view bytes);
    KxPmTilesType TypeOfMost() const;
    Picture Keep(std::string_view bytes);
    bool IsSame(const Picture& picture, std::string_view bytes);
    /// Gives each picture its place among the tiles.
    void Place(KxPmTilesHeader& header);
    void PlaceTile(const WaitingTile& tile);
    void EndEntry();
    /// The directories: a root alone where it is small enough.
    void MakeDirectories(Directories& root, SpoolFile& leaves);
    void MakeLeaves(std::size_t perLeaf, std::vector<KxPmTilesEntry>& entries, SpoolFile& leaves);
    std::vector<KxPmTilesEntry> ReadEntries(unsigned long long first, std::size_t count);
    void CopyTiles(SpoolFile& archive);

    NascentFile m_file;
    const std::string m_path;
    SpoolFile m_pictures;
    TileOrder m_order;
    RecordFile<PlacedEntry> m_entries;
    std::unordered_map<std::size_t, Picture> m_known; ///< pictures by the hash of their bytes
    /// Where pictures that came again lie among the tiles, by where they wait.
    std::unordered_map<unsigned long long, std::optional<unsigned long long>> m_shared;
    std::map<KxPmTilesType, unsigned long long> m_types; ///< tiles of each that the format has
    std::optional<PlacedEntry> m_open;                   ///< the last entry, whose run may go on
    std::vector<unsigned char> m_compared;
    unsigned long long m_nTiles = 0;
    unsigned long long m_nAddressed = 0;
    unsigned long long m_nPlacedBytes = 0;
    unsigned long long m_nContents = 0;
};

} // namespace KxC
