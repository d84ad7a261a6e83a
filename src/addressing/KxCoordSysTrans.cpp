// SPDX-License-Identifier: MIT
#include "KxCoordSysTrans.h"

#include "KxRasterDataAccessor.h"

#include <utility>

namespace KxC {

namespace {

KxRasterDataAccessor* NewProjectionObject()
{
    // Plug-ins of this kind make accessors, by the definition of the kind.
    return static_cast<KxRasterDataAccessor*>(
        m_gPluginManager.FindPluginByExt("AccessorPlugin", ".shp"));
}

KxRasterDataAccessor& AccessorOf(KxPlugin& projection)
{
    return static_cast<KxRasterDataAccessor&>(projection);
}

void Configure(KxRasterDataAccessor& accessor, const KxString& text, ProjectStringType type)
{
    switch (type) {
    case ProjectStringType_WKT:
        accessor.SetWKT(text.Cstr());
        break;
    case ProjectStringType_Proj4:
        accessor.SetProj4(text);
        break;
    case ProjectStringType_EPSG:
        accessor.SetEPSG(text.Cstr());
        break;
    case ProjectStringType_EsriPrj:
        accessor.SetEsriPrj(text.Cstr());
        break;
    case ProjectStringType_Authority:
        accessor.SetAuthority(text.Cstr());
        break;
    case ProjectStringType_PrjFile:
        accessor.SetPrjFile(text);
        break;
    default: // hosts may cast any number
        break;
    }
}

} // namespace

// The type is not set, as the header says; zero-initialized it costs nothing and reads the same
// everywhere.
KxCoordSysTrans::KxCoordSysTrans() : m_eType(), m_pProjection(nullptr) {}

KxCoordSysTrans::KxCoordSysTrans(const KxCoordSysTrans& other) = default;

KxCoordSysTrans& KxCoordSysTrans::operator=(const KxCoordSysTrans& other) = default;

KxCoordSysTrans::~KxCoordSysTrans()
{
    delete m_pProjection;
}

void KxCoordSysTrans::Init(const KxString& projection, ProjectStringType type)
{
    std::unique_ptr<KxRasterDataAccessor> accessor(NewProjectionObject());
    if (accessor == nullptr)
        return;
    m_strProjection = projection;
    m_eType = type;
    if (accessor->Initialize() == 0)
        return;
    m_pProjection = accessor.get();
    Configure(*accessor.release(), m_strProjection, type);
}

void KxCoordSysTrans::SrcPtToWGS84Pt(const KxPoint3d& in, KxPoint3d& out) const
{
    if (m_pProjection != nullptr)
        AccessorOf(*m_pProjection).SrcPtToWGS84Pt(in, out);
}

void KxCoordSysTrans::WGS84PtToSrcPt(const KxPoint3d& in, KxPoint3d& out) const
{
    if (m_pProjection != nullptr)
        AccessorOf(*m_pProjection).WGS84PtToSrcPt(in, out);
}

void KxCoordSysTrans::SrcPtsToWGS84Pts(const KxPoint3d* in, KxPoint3d* out, int count) const
{
    if (m_pProjection != nullptr)
        AccessorOf(*m_pProjection).SrcPtsToWGS84Pts(in, out, count);
}

void KxCoordSysTrans::WGS84PtsToSrcPts(const KxPoint3d* in, KxPoint3d* out, int count) const
{
    if (m_pProjection != nullptr)
        AccessorOf(*m_pProjection).WGS84PtsToSrcPts(in, out, count);
}

KxString KxCoordSysTrans::GetError() const
{
    if (m_pProjection == nullptr)
        return "no plug-in converts coordinates: KxGdalReader.so is missing from the plug-in "
               "folder (or from $KXTILE_PLUGIN_PATH), or could not be used; kxtile.log says more";
    if (m_eType < ProjectStringType_WKT || m_eType > ProjectStringType_PrjFile)
        return "the type of the projection string is none of 0 to 5";
    return AccessorOf(*m_pProjection).GetProjectionError();
}

} // namespace KxC
