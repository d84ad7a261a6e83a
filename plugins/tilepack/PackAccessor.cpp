// SPDX-License-Identifier: MIT
#include "PackAccessor.h"

#include "KxFile.h"
#include "KxUtility.h"
#include "PackImage.h"

#include <exception>
#include <utility>

namespace KxC {

namespace {

/// What ReadTileData answers; hosts know the first.
constexpr int kTileRead = 5;
constexpr int kReadFailed = 3;

void LogRefusal(const KxString& path, const char* reason)
{
    KxFile::WriteLogInfo(
        KxUtility::ToGBK(KxString("tile pack not opened: ") + path + ": " + reason));
}

} // namespace

PackAccessor::PackAccessor() = default;

PackAccessor::~PackAccessor() = default;

unsigned char PackAccessor::Initialize()
{
    return 1;
}

unsigned char PackAccessor::IsAvailable()
{
    return 1;
}

int PackAccessor::GetMinLevel()
{
    return m_pack != nullptr ? m_pack->MinLevel() : 0;
}

int PackAccessor::GetMaxLevel()
{
    return m_pack != nullptr ? m_pack->MaxLevel() : 0;
}

unsigned char PackAccessor::SetProj4(const KxString& /*text*/)
{
    return RefuseProjection();
}

unsigned char PackAccessor::SetEsriPrj(const char* /*text*/)
{
    return RefuseProjection();
}

unsigned char PackAccessor::SetEPSG(const char* /*code*/)
{
    return RefuseProjection();
}

unsigned char PackAccessor::SetWKT(const char* /*text*/)
{
    return RefuseProjection();
}

unsigned char PackAccessor::SetAuthority(const char* /*text*/)
{
    return RefuseProjection();
}

unsigned char PackAccessor::SetPrjFile(const KxString& /*path*/)
{
    return RefuseProjection();
}

unsigned char PackAccessor::RefuseProjection()
try {
    m_strProjectionError = "a pack of tiles has no coordinate systems";
    return 0;
} catch (const std::exception&) {
    return 0;
}

void PackAccessor::SrcPtToWGS84Pt(const KxPoint3d& /*in*/, KxPoint3d& /*out*/) {}

void PackAccessor::WGS84PtToSrcPt(const KxPoint3d& /*in*/, KxPoint3d& /*out*/) {}

unsigned char PackAccessor::Open(const KxString& path)
{
    try {
        Take(path, TilePack::Open(path.Cstr()));
        return 1;
    } catch (const PackError& error) {
        // Out of memory, the refusal stands without a line in the log.
        try {
            LogRefusal(path, error.what());
        } catch (const std::exception&) {
            return 0;
        }
    } catch (const std::exception&) {
        return 0;
    }
    return 0;
}

void PackAccessor::Take(const KxString& path, std::unique_ptr<TilePack> pack)
{
    m_strDataPath = path;
    m_eGeoReferenceType = KxEGeoReferenceType_WebMercatorTiles;
    m_rectLatLon = pack->Bounds();
    m_pack = std::move(pack);
}

void PackAccessor::ReadTileImage(KxImageData*& image, int level, int row, int col)
try {
    image = nullptr;
    if (m_pack != nullptr)
        image = MakePackImage(*m_pack, {level, row, col}).release();
} catch (const std::exception&) {
    image = nullptr;
}

int PackAccessor::ReadTileData(
    int level, int row, int col, unsigned char*& bytes, unsigned int& size)
try {
    bytes = nullptr;
    size = 0;
    if (m_pack == nullptr)
        return kReadFailed;
    TileBytes tile;
    const PackRead result = m_pack->Read({level, row, col}, tile);
    if (result == PackRead::Failed)
        return kReadFailed;
    if (result == PackRead::Tile) {
        size = tile.Size();
        bytes = tile.Release();
    }
    return kTileRead;
} catch (const std::exception&) {
    return kReadFailed;
}

} // namespace KxC
