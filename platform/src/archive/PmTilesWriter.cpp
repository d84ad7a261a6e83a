// SPDX-License-Identifier: MIT
#include "PmTilesWriter.h"

#include "ArchiveJson.h"
#include "KxCompress.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>

namespace KxC {

namespace {

/// Pictures that are remembered so that they are stored once, at some seventy bytes each.
constexpr std::size_t kMaxKnown = 1U << 20;
constexpr std::size_t kMaxRootBytes = KxPmTiles::kMaxRootEnd - KxPmTiles::kHeaderBytes;
/// Entries of a leaf, to begin with; more where the root does not hold that many leaves.
constexpr std::size_t kLeafEntries = 4096;
/// No directory of more entries is tried as a root alone.
constexpr unsigned long long kMaxRootEntries = 16384;

KxPmTilesType TypeOf(const std::string& format)
{
    if (format == "png")
        return KxPmTilesType_Png;
    if (format == "jpg")
        return KxPmTilesType_Jpeg;
    if (format == "webp")
        return KxPmTilesType_Webp;
    return KxPmTilesType_Unknown;
}

[[noreturn]] void ThrowWrongType(const std::string& format)
{
    const std::string kind = format.empty() ? "of no such kind" : "in the format '" + format + "'";
    throw ArchiveError(
        "a PMTiles archive holds tiles that are PNG, JPEG or WebP; the first one is " + kind);
}

KxPmTilesHeader HeaderFor(const KxTileArchiveReport& report, KxPmTilesType type)
{
    KxPmTilesHeader header;
    header.m_bClustered = true;
    header.m_eInternal = KxPmTilesCompression_Gzip;
    header.m_eTile = KxPmTilesCompression_None;
    header.m_eType = type;
    header.m_nMinLevel = report.m_nMinLevel;
    header.m_nMaxLevel = report.m_nMaxLevel;
    header.m_bounds = report.m_bounds;
    header.m_nCenterLevel = report.m_nMaxLevel;
    header.m_dCenterLon = report.m_centre.x;
    header.m_dCenterLat = report.m_centre.y;
    return header;
}

std::vector<unsigned char> PackedMetadata(const KxTileArchiveMetadata& metadata)
{
    const std::string json = MetadataJson(metadata);
    std::vector<unsigned char> packed;
    if (!KxCompress::GZipCompress({json.begin(), json.end()}, packed))
        throw std::bad_alloc();
    return packed;
}

std::vector<unsigned char> PackedDirectory(const std::vector<KxPmTilesEntry>& entries)
{
    std::vector<unsigned char> bytes;
    if (!KxPmTiles::WriteDirectory(entries.data(), entries.size(), bytes))
        throw std::bad_alloc();
    return bytes;
}

void CopyAll(SpoolFile& from, SpoolFile& to)
{
    constexpr unsigned long long kAtOnce = 1U << 20;
    std::vector<unsigned char> bytes(kAtOnce);
    for (unsigned long long done = 0; done < from.Size();) {
        const auto count = static_cast<std::size_t>(std::min(kAtOnce, from.Size() - done));
        from.Read(done, bytes.data(), count);
        to.Append(bytes.data(), count);
        done += count;
    }
}

} // namespace

PmTilesWriter::PmTilesWriter(const std::string& path)
    : m_file(path), m_path(path), m_pictures(SpoolFile::Nameless(path)), m_order(path),
      m_entries(path)
{
}

PmTilesWriter::~PmTilesWriter() = default;

void PmTilesWriter::Add(const ArchivePlace& place, std::string_view bytes)
{
    CountType(bytes);
    WaitingTile tile{};
    KxPmTiles::TileIdOf(place.m_nLevel, place.m_nRow, place.m_nCol, tile.m_nTileId);
    const Picture picture = Keep(bytes);
    tile.m_nNumber = m_nTiles++;
    tile.m_nOffset = picture.m_nOffset;
    tile.m_nLength = picture.m_nLength;
    m_order.Add(tile);
}

/// The header names one type. What is of none must not be learnt when all tiles are there; among
/// others that have one it may stay, as a service's sign for nothing often is of another.
void PmTilesWriter::CountType(std::string_view bytes)
{
    const std::string format = FormatOf(bytes);
    const KxPmTilesType type = TypeOf(format);
    if (type != KxPmTilesType_Unknown)
        ++m_types[type];
    else if (m_types.empty())
        ThrowWrongType(format);
}

KxPmTilesType PmTilesWriter::TypeOfMost() const
{
    const auto most =
        std::max_element(m_types.begin(), m_types.end(), [](const auto& one, const auto& other) {
            return one.second < other.second;
        });
    return most == m_types.end() ? KxPmTilesType_Unknown : most->first;
}

PmTilesWriter::Picture PmTilesWriter::Keep(std::string_view bytes)
{
    const std::size_t hash = std::hash<std::string_view>()(bytes);
    const auto known = m_known.find(hash);
    if (known != m_known.end() && IsSame(known->second, bytes)) {
        m_shared.try_emplace(known->second.m_nOffset);
        return known->second;
    }
    const Picture picture{m_pictures.Size(), static_cast<unsigned int>(bytes.size())};
    m_pictures.Append(bytes.data(), bytes.size());
    if (known == m_known.end() && m_known.size() < kMaxKnown)
        m_known.emplace(hash, picture);
    return picture;
}

/// A hash alone would do for tiles that come by chance, but not for those that somebody chose.
bool PmTilesWriter::IsSame(const Picture& picture, std::string_view bytes)
{
    if (picture.m_nLength != bytes.size())
        return false;
    m_compared.resize(bytes.size());
    m_pictures.Read(picture.m_nOffset, m_compared.data(), m_compared.size());
    return std::memcmp(m_compared.data(), bytes.data(), bytes.size()) == 0;
}

void PmTilesWriter::Finish(const KxTileArchiveMetadata& metadata, KxTileArchiveReport& report)
{
    KxPmTilesHeader header = HeaderFor(report, TypeOfMost());
    m_known = {};
    Place(header);
    report.m_nPictures = m_nContents;
    Directories root;
    SpoolFile leaves = SpoolFile::Nameless(m_path);
    MakeDirectories(root, leaves);
    const std::vector<unsigned char> json = PackedMetadata(metadata);
    header.m_root = {KxPmTiles::kHeaderBytes, root.size()};
    header.m_metadata = {header.m_root.m_nOffset + root.size(), json.size()};
    header.m_leaves = {header.m_metadata.m_nOffset + json.size(), leaves.Size()};
    header.m_tiles = {header.m_leaves.m_nOffset + leaves.Size(), m_nPlacedBytes};
    unsigned char start[KxPmTiles::kHeaderBytes];
    KxPmTiles::WriteHeader(header, start);
    {
        SpoolFile archive = SpoolFile::Named(m_file.Name());
        archive.Append(start, sizeof(start));
        archive.Append(root.data(), root.size());
        archive.Append(json.data(), json.size());
        CopyAll(leaves, archive);
        CopyTiles(archive);
        archive.Flush();
    }
    m_file.Commit();
}

void PmTilesWriter::Place(KxPmTilesHeader& header)
{
    m_order.Visit([this](const WaitingTile& tile) { PlaceTile(tile); });
    EndEntry();
    header.m_nAddressed = m_nAddressed;
    header.m_nEntries = m_entries.Count();
    header.m_nContents = m_nContents;
}

void PmTilesWriter::PlaceTile(const WaitingTile& tile)
{
    ++m_nAddressed;
    if (m_open && m_open->m_nWaiting == tile.m_nOffset &&
        m_open->m_entry.m_nTileId + m_open->m_entry.m_nRunLength == tile.m_nTileId) {
        ++m_open->m_entry.m_nRunLength;
        return;
    }
    EndEntry();
    PlacedEntry placed{{tile.m_nTileId, m_nPlacedBytes, tile.m_nLength, 1}, tile.m_nOffset, 1};
    const auto shared = m_shared.find(tile.m_nOffset);
    if (shared != m_shared.end() && shared->second) {
        placed.m_entry.m_nOffset = *shared->second;
        placed.m_nNew = 0;
    } else {
        if (shared != m_shared.end())
            shared->second = m_nPlacedBytes;
        m_nPlacedBytes += tile.m_nLength;
        ++m_nContents;
    }
    m_open = placed;
}

void PmTilesWriter::EndEntry()
{
    if (m_open)
        m_entries.Append(&*m_open, 1);
    m_open.reset();
}

std::vector<KxPmTilesEntry> PmTilesWriter::ReadEntries(unsigned long long first, std::size_t count)
{
    std::vector<PlacedEntry> placed;
    m_entries.Read(first, count, placed);
    std::vector<KxPmTilesEntry> entries;
    entries.reserve(count);
    for (const PlacedEntry& one : placed)
        entries.push_back(one.m_entry);
    return entries;
}

void PmTilesWriter::MakeDirectories(Directories& root, SpoolFile& leaves)
{
    if (m_entries.Count() <= kMaxRootEntries) {
        root = PackedDirectory(ReadEntries(0, static_cast<std::size_t>(m_entries.Count())));
        if (root.size() <= kMaxRootBytes)
            return;
    }
    for (std::size_t perLeaf = kLeafEntries;; perLeaf *= 2) {
        std::vector<KxPmTilesEntry> entries;
        SpoolFile tried = SpoolFile::Nameless(m_path);
        MakeLeaves(perLeaf, entries, tried);
        root = PackedDirectory(entries);
        if (root.size() > kMaxRootBytes)
            continue;
        CopyAll(tried, leaves);
        return;
    }
}

void PmTilesWriter::MakeLeaves(std::size_t perLeaf,
                               std::vector<KxPmTilesEntry>& entries,
                               SpoolFile& leaves)
{
    for (unsigned long long first = 0; first < m_entries.Count(); first += perLeaf) {
        const auto count = static_cast<std::size_t>(
            std::min<unsigned long long>(perLeaf, m_entries.Count() - first));
        const std::vector<KxPmTilesEntry> leaf = ReadEntries(first, count);
        const Directories bytes = PackedDirectory(leaf);
        entries.push_back(
            {leaf.front().m_nTileId, leaves.Size(), static_cast<unsigned int>(bytes.size()), 0});
        leaves.Append(bytes.data(), bytes.size());
    }
}

void PmTilesWriter::CopyTiles(SpoolFile& archive)
{
    constexpr unsigned long long kAtOnce = 4096;
    std::vector<PlacedEntry> placed;
    std::vector<unsigned char> bytes;
    for (unsigned long long first = 0; first < m_entries.Count(); first += kAtOnce) {
        m_entries.Read(
            first, static_cast<std::size_t>(std::min(kAtOnce, m_entries.Count() - first)), placed);
        for (const PlacedEntry& one : placed) {
            if (one.m_nNew == 0)
                continue;
            bytes.resize(one.m_entry.m_nLength);
            m_pictures.Read(one.m_nWaiting, bytes.data(), bytes.size());
            archive.Append(bytes.data(), bytes.size());
        }
    }
}

} // namespace KxC
