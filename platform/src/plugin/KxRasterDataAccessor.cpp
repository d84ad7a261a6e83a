// SPDX-License-Identifier: MIT
#include "KxRasterDataAccessor.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <string>

namespace KxC {

namespace {

thread_local unsigned long long t_readFailures = 0;
thread_local KxString t_error;

constexpr std::size_t kMaxErrorBytes = 500;

bool ContinuesCharacter(char byte)
{
    return (byte & 0xC0) == 0x80;
}

/// Files have a say in these words: what would end a line, or steer a terminal, is taken out.
std::string OneLine(std::string text)
{
    std::size_t end = std::min(text.size(), kMaxErrorBytes);
    while (end < text.size() && end > 0 && ContinuesCharacter(text[end]))
        --end;
    text.resize(end);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto before = static_cast<unsigned char>(i > 0 ? text[i - 1] : 0);
        const bool steers = byte < 0x20 || byte == 0x7F || (before == 0xC2 && byte < 0xA0);
        if (steers && byte >= 0x80)
            text[i - 1] = '?';
        if (steers)
            text[i] = '?';
    }
    return text;
}

void KeepError(const KxString& why) noexcept
{
    try {
        t_error = OneLine(why.Cstr()).c_str();
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
