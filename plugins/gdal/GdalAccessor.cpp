// SPDX-License-Identifier: MIT
#include "GdalAccessor.h"

#include "RasterError.h"

#include <string>
#include <utility>

namespace KxC {

namespace {

/// Of ReadTileData, which answers 5 only for a pack of tiles.
constexpr int kNoTileData = 3;

/// Runs what may throw behind an operation that must not. Nothing does but want of memory.
template <typename Step>
void WithoutThrowing(Step step)
{
    try {
        step();
    } catch (...) {
        return;
    }
}

/// Runs what may throw and hands on why it did.
template <typename Step>
void WithReason(Step step, void (*note)(const KxString& why) noexcept)
{
    try {
        step();
    } catch (const RasterError& error) {
        WithoutThrowing([&] { note(error.what()); });
    } catch (...) {
        note("out of memory"); // short enough to need none
    }
}

} // namespace

GdalAccessor::GdalAccessor() = default;

GdalAccessor::~GdalAccessor() = default;

unsigned char GdalAccessor::Initialize()
{
    return 1;
}

unsigned char GdalAccessor::IsAvailable()
{
    const ProjContext context(proj_context_create());
    if (context == nullptr)
        return 0;
    proj_log_level(context.get(), PJ_LOG_NONE); // else it prints what it does not find
    return proj_context_get_database_path(context.get()) != nullptr ? 1 : 0;
}

int GdalAccessor::GetMinLevel()
{
    return m_raster != nullptr ? m_raster->Levels().m_min : 0;
}

int GdalAccessor::GetMaxLevel()
{
    return m_raster != nullptr ? m_raster->Levels().m_max : 0;
}

unsigned char GdalAccessor::SetProj4(const KxString& text)
{
    return Take(CrsForm::Proj, text.Cstr());
}

unsigned char GdalAccessor::SetEsriPrj(const char* text)
{
    return Take(CrsForm::EsriPrj, text);
}

unsigned char GdalAccessor::SetEPSG(const char* code)
{
    return Take(CrsForm::Epsg, code);
}

unsigned char GdalAccessor::SetWKT(const char* text)
{
    return Take(CrsForm::Wkt, text);
}

unsigned char GdalAccessor::SetAuthority(const char* text)
{
    return Take(CrsForm::Authority, text);
}

unsigned char GdalAccessor::SetPrjFile(const KxString& path)
{
    unsigned char taken = 0;
    WithoutThrowing([&] {
        std::string error;
        const std::string text = ReadPrjFile(path.Cstr(), error);
        if (error.empty())
            taken = Take(CrsForm::EsriPrj, text.c_str());
        else
            m_strProjectionError = error.c_str();
    });
    return taken;
}

unsigned char GdalAccessor::Take(CrsForm form, const char* text)
{
    m_strProjectionError = "out of memory"; // short enough to need none
    unsigned char taken = 0;
    WithoutThrowing([&] {
        std::string error;
        std::unique_ptr<Projection> made =
            Projection::Make({form, text != nullptr ? text : ""}, error);
        m_strProjectionError = error.c_str();
        if (made == nullptr)
            return;
        m_projection = std::move(made);
        taken = 1;
    });
    return taken;
}

void GdalAccessor::SrcPtToWGS84Pt(const KxPoint3d& in, KxPoint3d& out)
{
    Convert(PJ_FWD, &in, &out, 1);
}

void GdalAccessor::WGS84PtToSrcPt(const KxPoint3d& in, KxPoint3d& out)
{
    Convert(PJ_INV, &in, &out, 1);
}

void GdalAccessor::SrcPtsToWGS84Pts(const KxPoint3d* in, KxPoint3d* out, int count)
{
    Convert(PJ_FWD, in, out, count);
}

void GdalAccessor::WGS84PtsToSrcPts(const KxPoint3d* in, KxPoint3d* out, int count)
{
    Convert(PJ_INV, in, out, count);
}

void GdalAccessor::Convert(PJ_DIRECTION direction, const KxPoint3d* in, KxPoint3d* out, int count)
{
    if (m_projection != nullptr)
        WithoutThrowing([&] { m_projection->Convert(direction, in, out, count); });
}

unsigned char GdalAccessor::Open(const KxString& path)
{
    unsigned char opened = 0;
    const auto open = [&] {
        m_raster = OpenRaster::Open(path.Cstr());
        if (m_raster == nullptr)
            return;
        m_strDataPath = path;
        m_rectLatLon = m_raster->Bounds();
        m_eGeoReferenceType = m_raster->IsGeographic() ? KxEGeoReferenceType_Geographic
                                                       : KxEGeoReferenceType_Projected;
        opened = 1;
        NoteOpen();
    };
    WithReason(open, &NoteOpenFailure);
    return opened;
}

void GdalAccessor::ReadTileImage(KxImageData*& image, int level, int row, int col)
{
    image = nullptr;
    if (m_raster != nullptr)
        WithReason([&] { image = m_raster->ReadTile(level, row, col).release(); },
                   &NoteReadFailure);
}

void GdalAccessor::Describe(KxRasterDescription& description) const
{
    if (m_raster != nullptr)
        WithoutThrowing([&] { m_raster->DescribeTo(description); });
}

int GdalAccessor::ReadTileData(
    int /*level*/, int /*row*/, int /*col*/, unsigned char*& bytes, unsigned int& size)
{
    bytes = nullptr;
    size = 0;
    WithoutThrowing([] { NoteReadFailure("this raster is not stored as tiles"); });
    return kNoTileData;
}

} // namespace KxC
