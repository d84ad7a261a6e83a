// SPDX-License-Identifier: MIT
#include "TileTree.h"

#include "EarthSource.h"
#include "FetchedTile.h"
#include "KxFile.h"
#include "KxImgUtility.h"
#include "KxNetGetch.h"
#include "KxTileFetcher.h"
#include "UnfinishedFiles.h"
#include "jobs/Outlook.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace KxTileHost {

namespace {

namespace fs = std::filesystem;
using KxC::KxFile;
using KxC::KxNetGetch;
using KxC::KxNetRequestInfo;
using KxC::KxTileFetcher;

/// Extensions that a tile's file may have got from its content. The library's operation names a
/// raster's tile with two dots.
constexpr std::array<const char*, 8> kOwnExts{
    ".jpeg", ".png", ".webp", ".gif", "..jpeg", "..png", "..webp", "..gif"};
constexpr std::array<const char*, 2> kWorldExts{".jgw", ".pgw"};

/// A format text such as "png gzip" would be a strange extension.
bool IsPlainExtension(const std::string& text)
{
    constexpr std::size_t kLongest = 8;
    return text.size() <= kLongest && std::all_of(text.begin(), text.end(), [](char character) {
               return (character >= '0' && character <= '9') ||
                      (character >= 'a' && character <= 'z') ||
                      (character >= 'A' && character <= 'Z');
           });
}

/// Size of a file that holds something; an empty one is what a broken system left.
std::optional<std::uint64_t> SizeOf(const std::string& path)
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    if (error || size == 0)
        return std::nullopt;
    return size;
}

/// Extension of the picture in a file, with its dot; empty for what is none.
KxC::KxString ExtOfContent(const std::string& path)
{
    std::array<char, 64> start{};
    std::ifstream file(path, std::ios::binary);
    file.read(start.data(), start.size());
    return KxC::KxImgUtility::TellImgExt(reinterpret_cast<const unsigned char*>(start.data()),
                                         static_cast<unsigned int>(file.gcount()));
}

void WriteWorldFileBeside(const std::string& path,
                          const KxC::KxString& pictureExt,
                          const HostTile& tile,
                          int tileSize)
{
    const KxC::KxString ext = KxTileFetcher::ImgExt2WorldFileExt(pictureExt);
    if (ext.IsEmpty() == 0)
        KxTileFetcher::WriteWorldFile(
            KxFile::ChangeExt(path.c_str(), ext), tile.m_x, tile.m_y, tile.m_z, tileSize);
}

/// The library's file operation asks a service that counts rows from the south for the row that it
/// was given, counted from the north, and would name another place's tile.
bool MirrorsRows(const TileOrigin& origin)
{
    return origin.HandsOutOwnTiles() && origin.GetSource()->m_nSouthToNorth != 0;
}

/// Tiles of another size than the origin's own have a tree of their own: its world files could not
/// tell them apart, nor could a run that goes on with it.
std::string FolderNameOf(const TileOrigin& origin)
{
    return origin.HasOwnTileSize() ? origin.GetKey()
                                   : fmt::format("{}-{}px", origin.GetKey(), origin.GetTileSize());
}

bool HasDateOfHistory(const KxC::KxTSDParamItem& source)
{
    return source.m_nTileScheme == kSchemeEarthHistory && source.m_bHistoryDataUsed != 0;
}

} // namespace

TileTree::TileTree(const TileOrigin& origin)
    : m_origin(origin),
      m_folder(fmt::format("{}/{}", KxFile::m_strAppCachePath.Cstr(), FolderNameOf(origin))),
      m_usesOperations(origin.GetSource() != nullptr && origin.HasOwnTileSize())
{
    const KxC::KxTSDParamItem* const source = origin.GetSource();
    if (source == nullptr)
        return;
    m_askedExt = HasDateOfHistory(*source) ? "jpeg" : source->m_strImageFormat.Cstr();
    if (!IsPlainExtension(m_askedExt) || MirrorsRows(origin)) {
        m_usesOperations = false;
        m_askedExt = IsPlainExtension(m_askedExt) ? m_askedExt : "";
    }
}

std::string TileTree::FolderOf(const HostTile& tile) const
{
    return fmt::format("{}/{}/{}", m_folder, tile.m_z, tile.m_y);
}

std::string TileTree::PathWithoutExt(const HostTile& tile) const
{
    return fmt::format("{}/{}", FolderOf(tile), tile.m_x);
}

/// All that the tile's file may be called.
std::vector<std::string> TileTree::PossiblePaths(const HostTile& tile) const
{
    const std::string base = PathWithoutExt(tile);
    if (!m_askedExt.empty())
        return {base + "." + m_askedExt};
    std::vector<std::string> paths;
    paths.reserve(kOwnExts.size());
    for (const char* ext : kOwnExts)
        paths.push_back(base + ext);
    return paths;
}

/// Empty where the tile has no file.
std::string TileTree::FindFile(const HostTile& tile) const
{
    for (std::string& path : PossiblePaths(tile))
        if (SizeOf(path))
            return std::move(path);
    return {};
}

/// The operations would take them for tiles.
void TileTree::RemoveEmptyFiles(const HostTile& tile) const
{
    std::error_code error;
    for (const std::string& path : PossiblePaths(tile))
        if (fs::file_size(path, error) == 0 && !error)
            fs::remove(path, error);
}

std::optional<std::uint64_t> TileTree::SizeOnDisk(const HostTile& tile) const
{
    const std::string path = FindFile(tile);
    return path.empty() ? std::nullopt : SizeOf(path);
}

/// A name that the library does not find again becomes the one that it should have.
/// @return the path that the tile has now
std::string TileTree::WithoutDoubledDot(const std::string& path) const
{
    const std::size_t dots = path.rfind("..");
    if (dots == std::string::npos || dots < path.rfind('/'))
        return path;
    const auto oneDot = [dots](std::string text) { return text.erase(dots, 1); };
    std::error_code error;
    // The world file first: a tile under its own name is complete.
    for (const char* world : kWorldExts) {
        const std::string beside = path.substr(0, dots + 1) + world;
        if (fs::exists(beside, error))
            fs::rename(beside, oneDot(beside), error);
    }
    fs::rename(path, oneDot(path), error);
    return error ? path : oneDot(path);
}

void TileTree::MendWorldFile(const std::string& path, const HostTile& tile) const
{
    const std::string base = PathWithoutExt(tile);
    std::error_code error;
    for (const char* world : kWorldExts)
        if (fs::exists(base + world, error))
            return;
    WriteWorldFileBeside(path, ExtOfContent(path), tile, m_origin.GetTileSize());
}

unsigned char TileTree::CallForSource(KxC::KxString& path, const HostTile& tile) const
{
    const KxC::KxTSDParamItem& source = *m_origin.GetSource();
    const auto [x, y, z] = tile;
    const int size = m_origin.GetTileSize();
    const int timeout = m_origin.GetTimeoutMs();
    if (source.m_bFromDefinitionFile != 0 && !HasDateOfHistory(source))
        return KxTileFetcher::FetchWMTileFile2(path, source.m_strKey, x, y, z, size, timeout);
    if (HasDateOfHistory(source))
        return KxTileFetcher::FetchGEHistoryTileFile(
            path, source.m_strUrlTemplate, source.m_historyTime, x, y, z, size, timeout);
    // The record is known by its key, which for these is the address as it was given.
    return KxTileFetcher::FetchWMTileFile(path,
                                          source.m_strKey,
                                          source.m_strServerParts,
                                          x,
                                          y,
                                          z,
                                          source.m_nTileScheme,
                                          source.m_nDatum,
                                          source.m_nSouthToNorth,
                                          source.m_nLevelOffset,
                                          source.m_nTileSize,
                                          size,
                                          m_askedExt.c_str(),
                                          timeout);
}

/// @return whether the tile's file is there now
bool TileTree::CallOperation(std::string& path, const HostTile& tile) const
{
    KxFile::MkDirEx(FolderOf(tile).c_str());
    RemoveEmptyFiles(tile);
    KxNetGetch::ClearLastRequestInfo();
    KxC::KxString written;
    const unsigned char done = CallForSource(written, tile);
    path = WithoutDoubledDot(written.Cstr());
    return done != 0;
}

/// Why an operation on a source brought nothing, as far as its last request tells; nothing where
/// something else may be the reason.
std::optional<TileResult> TileTree::WhatTheRequestSays() const
{
    const KxC::KxTSDParamItem* const source = m_origin.GetSource();
    const KxNetRequestInfo& request = KxNetGetch::GetLastRequestInfo();
    // Earth imagery is fetched by many requests, whose failures mean different things.
    if (source->m_nTileScheme == kSchemeEarthHistory || request.m_strUrl.IsEmpty() != 0)
        return std::nullopt;
    if (request.m_result == KxC::NetError_Failure)
        try {
            ThrowFetchFailure(*source);
        } catch (const CommandError& error) {
            return TileResult{TileOutcome::Failed,
                              0,
                              m_origin.WithoutSecrets(error.what()),
                              OutlookOfLastRequest()};
        }
    // Of a tile that is made of several the last one says little.
    const bool isHole = request.m_result == KxC::NetError_NoData || request.m_nBytes == 0;
    if (m_origin.HandsOutOwnTiles() && isHole)
        return TileResult{TileOutcome::Hole, 0, {}};
    return std::nullopt;
}

/// For what the operations do not name right, for tiles of another size, which they would put among
/// those of the origin's own, for rasters, whose operation says of no tile whether
/// it is a hole, and to learn why a source's operation brought nothing.
TileResult TileTree::MakeByOurselves(const HostTile& tile) const
{
    const TileBytes fetched = m_origin.Fetch(tile);
    if (fetched.m_outcome != TileOutcome::Made)
        return {fetched.m_outcome, 0, fetched.m_why, fetched.m_outlook};
    const KxC::KxRawData& bytes = *fetched.m_bytes;
    const std::string ext = m_askedExt.empty() ? bytes.GetExt().Cstr() : "." + m_askedExt;
    const std::string path = PathWithoutExt(tile) + ext;
    KxFile::MkDirEx(FolderOf(tile).c_str());
    errno = 0;
    if (KxFile::SaveWhole(path.c_str(), bytes.GetData(), bytes.GetSize()) == 0) {
        const std::error_code reason(errno, std::generic_category());
        return {
            TileOutcome::Failed, 0, fmt::format("cannot write '{}': {}", path, reason.message())};
    }
    WriteWorldFileBeside(path, bytes.GetExt(), tile, m_origin.GetTileSize());
    return {TileOutcome::Made, bytes.GetSize(), {}};
}

TileResult TileTree::Make(const HostTile& tile) const
{
    const std::string there = FindFile(tile);
    if (!there.empty()) {
        const std::string path = WithoutDoubledDot(there);
        MendWorldFile(path, tile);
        return {TileOutcome::Kept, SizeOf(path).value_or(0), {}};
    }
    if (!m_usesOperations)
        return MakeByOurselves(tile);
    std::string path;
    if (CallOperation(path, tile))
        return {TileOutcome::Made, SizeOf(path).value_or(0), {}};
    if (const auto result = WhatTheRequestSays())
        return *result;
    return MakeByOurselves(tile);
}

void TileTree::RemoveUnfinished(const std::vector<HostTile>& inWork) const
{
    std::vector<std::string> folders;
    folders.reserve(inWork.size());
    for (const HostTile& tile : inWork)
        folders.push_back(FolderOf(tile));
    RemoveUnfinishedForGood(folders);
    std::error_code error;
    for (const std::string& folder : folders) { // those that are empty
        fs::remove(folder, error);
        fs::remove(fs::path(folder).parent_path(), error);
    }
    fs::remove(m_folder, error);
}

void TileTree::Tidy() const
{
    std::error_code error;
    for (const fs::directory_entry& level : fs::directory_iterator(m_folder, error)) {
        if (!level.is_directory(error))
            continue;
        for (const fs::directory_entry& row : fs::directory_iterator(level.path(), error)) {
            RemoveOrphans(row.path().string());
            if (row.is_directory(error))
                fs::remove(row.path(), error); // only where it is empty
        }
        fs::remove(level.path(), error);
    }
    fs::remove(m_folder, error);
}

} // namespace KxTileHost
