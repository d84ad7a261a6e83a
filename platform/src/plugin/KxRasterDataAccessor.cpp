// SPDX-License-Identifier: MIT
#include "KxRasterDataAccessor.h"

namespace KxC {

KxRasterDataAccessor::KxRasterDataAccessor() : m_eGeoReferenceType(KxEGeoReferenceType_None) {}

KxRasterDataAccessor::~KxRasterDataAccessor() = default;

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
