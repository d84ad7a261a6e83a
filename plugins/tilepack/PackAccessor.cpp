// SPDX-License-Identifier: MIT
#include "PackAccessor.h"

#include "PackImage.h"

#include <exception>
#include <string>
#include <utility>

namespace KxC {

namespace {

/// What ReadTileData answers; hosts know the first.
constexpr int kTileRead = 5;
constexpr int kReadFailed = 3;

constexpr const char* kNoMemory = "out of memory"; // short enough to need none itself

/// Hands a reason on, as far as there is memory for it.
void Tell(void (*note)(const KxString& why) noexcept, const char* why)
try {
    note(why);
} catch (const std::exception&) {
    note(kNoMemory);
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
try {
    Take(path, TilePack::Open(path.Cstr()));
    NoteOpen();
    return 1;
} catch (const PackError& error) {
    Tell(&NoteOpenFailure, error.what());
    return 0;
} catch (const std::exception&) {
    Tell(&NoteOpenFailure, kNoMemory);
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
    if (m_pack == nullptr)
        return;
    std::string fault;
    image = MakePackImage(*m_pack, {level, row, col}, fault).release();
    if (!fault.empty())
        Tell(&NoteReadFailure, fault.c_str());
} catch (const std::exception&) {
    Tell(&NoteReadFailure, kNoMemory);
}

int PackAccessor::ReadTileData(
    int level, int row, int col, unsigned char*& bytes, unsigned int& size)
try {
    bytes = nullptr;
    size = 0;
    if (m_pack == nullptr)
        throw PackError("no file is open");
    TileBytes tile;
    if (m_pack->Read({level, row, col}, tile)) {
        size = tile.Size();
        bytes = tile.Release();
    }
    return kTileRead;
} catch (const PackError& error) {
    Tell(&NoteReadFailure, error.what());
    return kReadFailed;
} catch (const std::exception&) {
    Tell(&NoteReadFailure, kNoMemory);
    return kReadFailed;
}

void PackAccessor::Describe(KxRasterDescription& description) const
try {
    if (m_pack == nullptr)
        return;
    description.m_nEpsg = 3857;
    description.m_strCrsName = "WGS 84 / Pseudo-Mercator";
} catch (const std::exception&) {
    return; // the name is missing
}

} // namespace KxC
