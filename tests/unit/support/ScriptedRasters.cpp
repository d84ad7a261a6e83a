// SPDX-License-Identifier: MIT
#include "ScriptedRasters.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace KxC::Testing {

namespace {

ScriptedRasters* g_current = nullptr;

std::string Address(const char* what, int level, int row, int col)
{
    return std::string(what) + ' ' + std::to_string(level) + '/' + std::to_string(row) + '/' +
           std::to_string(col);
}

class ScriptedRaster : public KxRasterDataAccessor
{
public:
    explicit ScriptedRaster(ScriptedRasters& script) : m_script(script), m_toWgs84(script.m_toWgs84)
    {
    }
    ~ScriptedRaster() override
    {
        // Those that the process's registry holds outlive the test that made them.
        if (g_current == &m_script)
            m_script.Note("destroyed");
    }

    unsigned char Initialize() override { return 1; }
    unsigned char IsAvailable() override { return m_script.m_available ? 1 : 0; }
    int GetMinLevel() override { return m_script.m_minLevel; }
    int GetMaxLevel() override { return m_script.m_maxLevel; }
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
        m_script.Note(std::string("Open ") + path.Cstr());
        if (!m_script.m_hasMemory)
            throw std::bad_alloc();
        m_strDataPath = path;
        m_rectLatLon = m_script.m_bounds;
        if (m_script.m_stored)
            m_eGeoReferenceType = KxEGeoReferenceType_WebMercatorTiles;
        return m_script.m_opens ? 1 : 0;
    }

    void ReadTileImage(KxImageData*& image, int level, int row, int col) override
    {
        m_script.Note(Address("image", level, row, col));
        image = m_script.m_image ? m_script.m_image(level, row, col).release() : nullptr;
    }

    int
    ReadTileData(int level, int row, int col, unsigned char*& bytes, unsigned int& size) override
    {
        m_script.Note(Address("stored", level, row, col));
        size = static_cast<unsigned int>(m_script.m_storedBytes.size());
        bytes = nullptr;
        if (size > 0) {
            bytes = static_cast<unsigned char*>(std::malloc(size));
            std::memcpy(bytes, m_script.m_storedBytes.data(), size);
        }
        return m_script.m_readStatus;
    }

private:
    ScriptedRasters& m_script;
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
    return new ScriptedRaster(*g_current);
}

} // namespace KxC::Testing
