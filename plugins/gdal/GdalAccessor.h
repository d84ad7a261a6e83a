// SPDX-License-Identifier: MIT
#pragma once

#include "CrsText.h"
#include "KxRasterDataAccessor.h"
#include "KxRasterDescription.h"
#include "OpenRaster.h"
#include "Projection.h"

#include <memory>

namespace KxC {

/// Projections through PROJ, rasters through GDAL.
class GdalAccessor : public KxRasterDataAccessor, public KxRasterDescriber
{
public:
    GdalAccessor();
    ~GdalAccessor() override;

    unsigned char Initialize() override;
    /// @return nonzero when PROJ's database is found
    unsigned char IsAvailable() override;
    int GetMinLevel() override;
    int GetMaxLevel() override;

    unsigned char SetProj4(const KxString& text) override;
    unsigned char SetEsriPrj(const char* text) override;
    unsigned char SetEPSG(const char* code) override;
    unsigned char SetWKT(const char* text) override;
    unsigned char SetAuthority(const char* text) override;
    unsigned char SetPrjFile(const KxString& path) override;

    void SrcPtToWGS84Pt(const KxPoint3d& in, KxPoint3d& out) override;
    void WGS84PtToSrcPt(const KxPoint3d& in, KxPoint3d& out) override;

    unsigned char Open(const KxString& path) override;
    void ReadTileImage(KxImageData*& image, int level, int row, int col) override;
    int
    ReadTileData(int level, int row, int col, unsigned char*& bytes, unsigned int& size) override;

    void SrcPtsToWGS84Pts(const KxPoint3d* in, KxPoint3d* out, int count) override;
    void WGS84PtsToSrcPts(const KxPoint3d* in, KxPoint3d* out, int count) override;

    void Describe(KxRasterDescription& description) const override;

private:
    unsigned char Take(CrsForm form, const char* text);
    void Convert(PJ_DIRECTION direction, const KxPoint3d* in, KxPoint3d* out, int count);

    std::unique_ptr<Projection> m_projection; ///< null until a setter took its text
    std::unique_ptr<OpenRaster> m_raster;     ///< null until Open succeeded
};

} // namespace KxC
