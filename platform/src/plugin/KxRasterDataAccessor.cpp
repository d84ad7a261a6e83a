// SPDX-License-Identifier: MIT
#include "KxRasterDataAccessor.h"

namespace KxC {

KxRasterDataAccessor::KxRasterDataAccessor() : m_eGeoReferenceType(KxEGeoReferenceType_None) {}

KxRasterDataAccessor::~KxRasterDataAccessor() = default;

void KxRasterDataAccessor::SrcPtsToWGS84Pts(const KxPoint3d* in, KxPoint3d* out, int count)
{
    for (int i = 0; i < count; ++i)
        SrcPtToWGS84Pt(in[i], out[i]);
}

void KxRasterDataAccessor::WGS84PtsToSrcPts(const KxPoint3d* in, KxPoint3d* out, int count)
{
    for (int i = 0; i < count; ++i)
        WGS84PtToSrcPt(in[i], out[i]);
}

const KxString& KxRasterDataAccessor::GetProjectionError() const
{
    return m_strProjectionError;
}

const KxString& KxRasterDataAccessor::GetDataPath() const
{
    return m_strDataPath;
}

KxEGeoReferenceType KxRasterDataAccessor::GetGeoReferenceType() const
{
    return m_eGeoReferenceType;
}

const KxRect2d& KxRasterDataAccessor::GetLatLonBounds() const
{
    return m_rectLatLon;
}

} // namespace KxC
