// SPDX-License-Identifier: MIT
#include "TileFile.h"

#include "KxFile.h"
#include "KxTileFetcher.h"

#include <cstring>
#include <memory>

namespace KxC {

namespace {

/// The tile's path without extension.
KxString BaseName(const TileFileRequest& request)
{
    KxString name;
    name.Format("%s/%s/%d/%d/%d",
                KxFile::m_strAppCachePath.Cstr(),
                request.m_strFolder.Cstr(),
                request.m_nZ,
                request.m_nY,
                request.m_nX);
    return name;
}

/// An extension comes from definitions and callers: it must not lead out of the tile folder.
bool StaysInFolder(const KxString& ext)
{
    const bool hidesBytes = std::strlen(ext.Cstr()) != static_cast<std::size_t>(ext.GetLength());
    return !hidesBytes && ext.Find("/") < 0 && ext.Find("\\") < 0 && ext.Find("..") < 0;
}

/// A file that an earlier call may have left, whatever it holds.
bool FindExisting(KxString& path, const TileFileRequest& request, const KxString& base)
{
    const auto found = [&path, &base](const KxString& ext) {
        path = base + "." + ext;
        return KxFile::IsExist(path) != 0;
    };
    if (request.m_strAskedExt.IsEmpty() == 0)
        return found(request.m_strAskedExt);
    return found("jpeg") || found("png");
}

/// Named for what was asked, or else for what was received.
KxString NameFor(const TileFileRequest& request, const KxString& base, const KxRawData& tile)
{
    if (request.m_strAskedExt.IsEmpty() == 0)
        return base + "." + request.m_strAskedExt;
    return base + (request.m_bDotBeforeOwnExt ? "." : "") + tile.GetExt();
}

bool WriteTileFile(const KxString& name, const TileFileRequest& request, const KxRawData& tile)
{
    if (request.m_bMakesFolder)
        KxFile::MkDirEx(KxFile::GetDir(name));
    if (KxFile::SaveWhole(name, tile.GetData(), tile.GetSize()) == 0)
        return false;
    // A tile is good without its world file: whether that could be written does not matter.
    KxTileFetcher::WriteWorldFile(
        KxFile::ChangeExt(name, KxTileFetcher::ImgExt2WorldFileExt(tile.GetExt())),
        request.m_nX,
        request.m_nY,
        request.m_nZ,
        request.m_nTileSize);
    return true;
}

} // namespace

unsigned char FetchTileFile(KxString& path, const TileFileRequest& request, const TileFetch& fetch)
{
    path = "";
    if (!StaysInFolder(request.m_strAskedExt))
        return 0;
    const KxString base = BaseName(request);
    KxString name;
    if (!FindExisting(name, request, base)) {
        const std::unique_ptr<KxRawData> tile(fetch());
        if (tile == nullptr || tile->GetSize() == 0)
            return 0;
        name = NameFor(request, base, *tile);
        if (!WriteTileFile(name, request, *tile))
            return 0;
    }
    path = name;
    return 1;
}

} // namespace KxC
