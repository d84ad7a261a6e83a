// SPDX-License-Identifier: MIT
#include "ScriptedRasters.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace KxC::Testing {

namespace {

ScriptedRasters* g_current = nullptr;

/// The process's registry keeps rasters open beyond the test that opened them: whichever script is
/// in force answers, never the one that they were made for.
ScriptedRasters& InForce()
{
    if (g_current == nullptr) {
        std::fputs("a scripted raster is used though no script is in force\n", stderr);
        std::abort();
    }
    return *g_current;
}

std::string Address(const char* what, int level, int row, int col)
{
    return std::string(what) + ' ' + std::to_string(level) + '/' + std::to_string(row) + '/' +
           std::to_string(col);
}

class ScriptedRaster : public KxRasterDataAccessor
{
public:
    ScriptedRaster() : m_toWgs84(InForce().m_toWgs84) {}
    ~ScriptedRaster() override
    {
        if (g_current != nullptr) // else the process ends, and its registries with it
            g_current->Note("destroyed");
    }

    unsigned char Initialize() override { return 1; }
    unsigned char IsAvailable() override { return InForce().m_available ? 1 : 0; }
    int GetMinLevel() override { return InForce().m_minLevel; }
    int GetMaxLevel() override { return InForce().m_maxLevel; }
    unsigned char SetProj4(const KxString& /*text*/) override { return 0; }
    unsigned char SetEsriPrj(const char* /*text*/) override { return 0; }
    unsigned char SetEPSG(const char* /*code*/) override { return 0; }
    unsigned char SetWKT(const char* /*text*/) override { return 0; }
    unsigned char SetAuthority(const char* /*text*/) override { return 0; }
    unsigned char SetPrjFile(const KxString& /*path*/) override { return 0; }
    void SrcPtToWGS84Pt(const KxPoint3d& in, KxPoint3d& out) override
    {
        KxPoint3d place;
        if (m_toWgs84 && m_toWgs84(in, place))
            out = place;
    }
    void WGS84PtToSrcPt(const KxPoint3d& /*in*/, KxPoint3d& /*out*/) override {}

    unsigned char Open(const KxString& path) override
    {
        InForce().Note(std::string("Open ") + path.Cstr());
        if (!InForce().m_hasMemory)
            throw std::bad_alloc();
        m_strDataPath = path;
        m_rectLatLon = InForce().m_bounds;
        if (InForce().m_stored)
            m_eGeoReferenceType = KxEGeoReferenceType_WebMercatorTiles;
        return InForce().m_opens ? 1 : 0;
    }

    void ReadTileImage(KxImageData*& image, int level, int row, int col) override
    {
        InForce().Note(Address("image", level, row, col));
        image = InForce().m_image ? InForce().m_image(level, row, col).release() : nullptr;
    }

    int
    ReadTileData(int level, int row, int col, unsigned char*& bytes, unsigned int& size) override
    {
        InForce().Note(Address("stored", level, row, col));
        size = static_cast<unsigned int>(InForce().m_storedBytes.size());
        bytes = nullptr;
        if (size > 0) {
            bytes = static_cast<unsigned char*>(std::malloc(size));
            std::memcpy(bytes, InForce().m_storedBytes.data(), size);
        }
        return InForce().m_readStatus;
    }

private:
    std::function<bool(const KxPoint3d&, KxPoint3d&)> m_toWgs84;
};

} // namespace

ScriptedRasters::ScriptedRasters()
{
    g_current = this;
}

ScriptedRasters::~ScriptedRasters()
{
    g_current = nullptr;
}

void ScriptedRasters::Note(std::string call)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.push_back(std::move(call));
}

KxPlugin* MakeScriptedRaster(const KxString& kind, const KxString& ext)
{
    if (g_current == nullptr || !(kind == "AccessorPlugin"))
        return nullptr;
    const bool converts = g_current->m_toWgs84 && ext.CompareNoCase(".shp") == 0;
    if (!converts && ext.CompareNoCase(".tif") != 0 && ext.CompareNoCase(".mbt") != 0)
        return nullptr;
    return new ScriptedRaster;
}

} // namespace KxC::Testing
