// SPDX-License-Identifier: MIT
#include "GdalScope.h"

#include <cpl_http.h>
#include <gdal.h>

#include <mutex>
#include <new>

namespace KxC {

namespace {

/// Takes the place of every request that GDAL would send.
CPLHTTPResult* RefuseRequest(const char* /*url*/,
                             CSLConstList /*options*/,
                             GDALProgressFunc /*progress*/,
                             void* /*progressArgument*/,
                             CPLHTTPFetchWriteFunc /*write*/,
                             void* /*writeArgument*/,
                             void* /*user*/)
{
    auto* result = static_cast<CPLHTTPResult*>(CPLCalloc(1, sizeof(CPLHTTPResult)));
    result->nStatus = 1;
    result->pszErrBuf = CPLStrdup("rasters are read from files only");
    return result;
}

void StartGdal()
{
    static std::once_flag started;
    std::call_once(started, [] { GDALAllRegister(); });
}

} // namespace

// Options: file systems over HTTP know one file, which is none; drivers with a client of their own
// are sent to a port where nobody listens; pixel functions in Python are not run; and a source of
// a virtual raster is opened for each of its datasets, because they serve different threads.
GdalScope::GdalScope()
    : m_handler(&GdalScope::KeepMessage, this),
      m_noCurlFile("CPL_VSIL_CURL_ALLOWED_FILENAME", "none", false),
      m_noProxy("GDAL_HTTP_PROXY", "http://127.0.0.1:9", false),
      m_noPython("GDAL_VRT_ENABLE_PYTHON", "NO", false),
      m_noSharing("VRT_SHARED_SOURCE", "NO", false)
{
    CPLErrorReset(); // what failed before is not this scope's
    CPLHTTPPushFetchCallback(&RefuseRequest, nullptr);
    StartGdal();
}

GdalScope::~GdalScope()
{
    CPLHTTPPopFetchCallback();
    CPLErrorReset(); // a host that uses GDAL has its own last error
}

void CPL_STDCALL GdalScope::KeepMessage(CPLErr kind, CPLErrorNum /*number*/, const char* message)
{
    if (kind < CE_Failure)
        return;
    try {
        static_cast<GdalScope*>(CPLGetErrorHandlerUserData())->m_message = message;
    } catch (const std::bad_alloc&) {
        return; // the message is lost, nothing else; GDAL must not be thrown through
    }
}

} // namespace KxC
