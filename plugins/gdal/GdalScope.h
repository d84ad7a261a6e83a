// SPDX-License-Identifier: MIT
#pragma once

#include <cpl_conv.h>
#include <cpl_error.h>

#include <string>

namespace KxC {

/// Stands around every use of GDAL. Within it, on its thread, GDAL prints nothing, reaches no
/// network and runs no code that a raster brings along. The first one starts GDAL; hosts that use
/// GDAL themselves keep their settings.
class GdalScope
{
public:
    GdalScope();
    ~GdalScope();
    GdalScope(const GdalScope&) = delete;
    GdalScope& operator=(const GdalScope&) = delete;

    /// The last that GDAL had to say in this scope; empty when it was content.
    const std::string& Message() const { return m_message; }

private:
    static void CPL_STDCALL KeepMessage(CPLErr kind, CPLErrorNum number, const char* message);

    std::string m_message;
    CPLErrorHandlerPusher m_handler;
    CPLConfigOptionSetter m_noCurlFile;
    CPLConfigOptionSetter m_noProxy;
    CPLConfigOptionSetter m_noPython;
    CPLConfigOptionSetter m_noSharing;
};

} // namespace KxC
