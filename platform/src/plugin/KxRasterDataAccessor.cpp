// SPDX-License-Identifier: MIT
#include "KxRasterDataAccessor.h"

#include <new>

namespace KxC {

namespace {

thread_local unsigned long long t_readFailures = 0;
thread_local KxString t_error;

void KeepError(const KxString& why) noexcept
{
    try {
        t_error = why;
    } catch (const std::bad_alloc&) {
        t_error = "out of memory"; // short enough to need none
    }
}

} // namespace

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

unsigned long long KxRasterDataAccessor::GetThreadReadFailures()
{
    return t_readFailures;
}

const KxString& KxRasterDataAccessor::GetThreadError()
{
    return t_error;
}

void KxRasterDataAccessor::NoteReadFailure(const KxString& why) noexcept
{
    ++t_readFailures;
    KeepError(why);
}

void KxRasterDataAccessor::NoteOpenFailure(const KxString& why) noexcept
{
    KeepError(why);
}

void KxRasterDataAccessor::NoteOpen() noexcept
{
    KeepError(KxString());
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
