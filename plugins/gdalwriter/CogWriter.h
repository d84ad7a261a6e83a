// SPDX-License-Identifier: MIT
#pragma once

#include "KxRasterWriter.h"

#include <memory>
#include <string>

namespace KxC {

/// Cloud Optimized GeoTIFFs through GDAL.
class CogWriter : public KxRasterWriter
{
public:
    CogWriter();
    ~CogWriter() override;

    unsigned char Initialize() override;
    /// @return nonzero when GDAL has the drivers that writing takes
    unsigned char IsAvailable() override;

    unsigned char Create(const KxString& path,
                         int width,
                         int height,
                         int bytesPerPixel,
                         const KxRect2d& rect,
                         const char* crs,
                         int crsForm) override;
    unsigned char WriteBlock(int xFromWest, int yFromNorth, const KxImageData& block) override;
    unsigned char Finish(Progress progress, void* user) override;
    void Cancel() override;
    KxString GetEsriPrj(const char* crs, int crsForm) override;

private:
    struct Work;

    template <typename Step>
    unsigned char Attempt(Step step);

    std::unique_ptr<Work> m_work; ///< null while nothing is begun
};

} // namespace KxC
