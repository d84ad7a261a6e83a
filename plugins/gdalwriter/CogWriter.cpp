// SPDX-License-Identifier: MIT
#include "CogWriter.h"

#include "CrsArgument.h"
#include "GdalScope.h"
#include "StagedRaster.h"
#include "StagingFolder.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace KxC {

namespace {

const char kNothingBegun[] = "no raster is begun; call Create first";

/// What went wrong with a file, with GDAL's reason where it gave one.
std::string Fault(const std::string& path, const std::string& what, const GdalScope& gdal)
{
    std::string fault = path + ": " + what;
    if (!gdal.Message().empty())
        fault += " (GDAL: " + gdal.Message() + ")";
    return fault;
}

} // namespace

struct CogWriter::Work
{
    explicit Work(std::string path) : m_path(std::move(path)), m_folder(m_path) {}
    ~Work()
    {
        if (m_raster == nullptr)
            return;
        const GdalScope scope;
        m_raster.reset();
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    std::string m_path;
    StagingFolder m_folder; ///< before the raster in it, so that it goes after it
    std::unique_ptr<StagedRaster> m_raster;
    std::string m_fault; ///< of the first block that failed
};

CogWriter::CogWriter() = default;

CogWriter::~CogWriter() = default;

/// Runs a step that answers what went wrong, and nothing when nothing did.
template <typename Step>
unsigned char CogWriter::Attempt(Step step)
{
    try {
        const std::string fault = step();
        m_strError = fault.c_str();
        return fault.empty() ? 1 : 0;
    } catch (...) {
        m_work.reset();
        m_strError = "out of memory"; // short enough to need none
        return 0;
    }
}

unsigned char CogWriter::Initialize()
{
    return 1;
}

unsigned char CogWriter::IsAvailable()
{
    return Attempt([] {
        const GdalScope scope;
        const bool hasBoth =
            GDALGetDriverByName("GTiff") != nullptr && GDALGetDriverByName("COG") != nullptr;
        return std::string(hasBoth ? "" : "this GDAL writes no Cloud Optimized GeoTIFF");
    });
}

unsigned char CogWriter::Create(const KxString& path,
                                int width,
                                int height,
                                int bytesPerPixel,
                                const KxRect2d& rect,
                                const char* crs,
                                int crsForm)
{
    return Attempt([&]() -> std::string {
        m_work.reset();
        RasterShape shape = {width, height, bytesPerPixel, rect, {}};
        std::string fault = FaultOf(shape);
        if (fault.empty())
            shape.m_wkt = RewriteCrs(crs, crsForm, CrsDialect::Wkt2, fault);
        if (!fault.empty())
            return fault;
        auto work = std::make_unique<Work>(path.Cstr());
        if (!work->m_folder.IsThere())
            // NOLINTNEXTLINE(concurrency-mt-unsafe): glibc keeps the text by thread
            return work->m_path + ": nothing can be written beside it: " + std::strerror(errno);
        const GdalScope scope;
        work->m_raster = StagedRaster::Create(work->m_folder.File("blocks.tif"), shape);
        if (work->m_raster == nullptr)
            return Fault(work->m_path, "its raster cannot be begun", scope);
        m_work = std::move(work);
        return {};
    });
}

unsigned char CogWriter::WriteBlock(int xFromWest, int yFromNorth, const KxImageData& block)
{
    return Attempt([&]() -> std::string {
        if (m_work == nullptr)
            return kNothingBegun;
        const GdalScope scope;
        if (m_work->m_raster->Write(xFromWest, yFromNorth, block) && scope.Message().empty())
            return {};
        if (m_work->m_fault.empty())
            m_work->m_fault = Fault(m_work->m_path, "a block cannot be written", scope);
        return m_work->m_fault;
    });
}

unsigned char CogWriter::Finish(Progress progress, void* user)
{
    return Attempt([&]() -> std::string {
        if (m_work == nullptr)
            return kNothingBegun;
        const std::unique_ptr<Work> work = std::move(m_work);
        if (!work->m_fault.empty())
            return work->m_fault;
        const std::string whole = work->m_folder.File("whole.tif");
        const GdalScope scope;
        if (!work->m_raster->Copy(whole, progress, user) || !scope.Message().empty())
            return Fault(work->m_path, "not written", scope);
        std::error_code error;
        std::filesystem::rename(whole, work->m_path, error);
        return error ? work->m_path + ": " + error.message() : std::string();
    });
}

void CogWriter::Cancel()
{
    Attempt([&] {
        m_work.reset();
        return std::string();
    });
}

KxString CogWriter::GetEsriPrj(const char* crs, int crsForm)
{
    KxString prj;
    Attempt([&] {
        std::string fault;
        prj = RewriteCrs(crs, crsForm, CrsDialect::Esri, fault).c_str();
        return fault;
    });
    return prj;
}

} // namespace KxC
