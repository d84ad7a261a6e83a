// SPDX-License-Identifier: MIT
#include "ScriptedProjections.h"

#include "ScriptedRasters.h"

#include <utility>

namespace KxC {

namespace Testing {

namespace {

ScriptedProjections* g_current = nullptr;

} // namespace

ScriptedProjections::ScriptedProjections()
{
    g_current = this;
}

ScriptedProjections::~ScriptedProjections()
{
    g_current = nullptr;
}

ScriptedProjection::ScriptedProjection(ScriptedProjections& script) : m_script(script) {}

ScriptedProjection::~ScriptedProjection()
{
    m_script.m_calls.emplace_back("destroyed");
}

unsigned char ScriptedProjection::Initialize()
{
    m_script.m_calls.emplace_back("Initialize");
    return m_script.m_usable ? 1 : 0;
}

unsigned char ScriptedProjection::Record(const char* setter, const char* text)
{
    m_script.m_calls.push_back(std::string(setter) + ' ' + text);
    m_strProjectionError = m_script.m_error.c_str();
    return m_script.m_error.empty() ? 1 : 0;
}

unsigned char ScriptedProjection::SetProj4(const KxString& text)
{
    return Record("SetProj4", text.Cstr());
}

unsigned char ScriptedProjection::SetEsriPrj(const char* text)
{
    return Record("SetEsriPrj", text);
}

unsigned char ScriptedProjection::SetEPSG(const char* code)
{
    return Record("SetEPSG", code);
}

unsigned char ScriptedProjection::SetWKT(const char* text)
{
    return Record("SetWKT", text);
}

unsigned char ScriptedProjection::SetAuthority(const char* text)
{
    return Record("SetAuthority", text);
}

unsigned char ScriptedProjection::SetPrjFile(const KxString& path)
{
    return Record("SetPrjFile", path.Cstr());
}

void ScriptedProjection::SrcPtToWGS84Pt(const KxPoint3d& in, KxPoint3d& out)
{
    out = {in.x + 1000, in.y, in.z};
}

void ScriptedProjection::WGS84PtToSrcPt(const KxPoint3d& in, KxPoint3d& out)
{
    out = {in.x - 1000, in.y, in.z};
}

unsigned char ScriptedProjection::Open(const KxString& /*path*/)
{
    return 0;
}

void ScriptedProjection::ReadTileImage(KxImageData*& image, int /*level*/, int /*row*/, int /*col*/)
{
    image = nullptr;
}

int ScriptedProjection::ReadTileData(
    int /*level*/, int /*row*/, int /*col*/, unsigned char*& bytes, unsigned int& size)
{
    bytes = nullptr;
    size = 0;
    return 3;
}

} // namespace Testing

KxPlugin* KxPluginManager::FindPluginByExt(const KxString& kind, const KxString& ext)
{
    Testing::ScriptedProjections* script = Testing::g_current;
    if (script == nullptr)
        return Testing::MakeScriptedRaster(kind, ext);
    script->m_asked.push_back(std::string(kind.Cstr()) + ' ' + ext.Cstr());
    return script->m_thereIsAPlugin ? new Testing::ScriptedProjection(*script) : nullptr;
}

} // namespace KxC
