// SPDX-License-Identifier: MIT
#pragma once

#include "KxRasterDataAccessor.h"
#include "KxRasterDescription.h"
#include "TilePack.h"

#include <memory>

namespace KxC {

/// A pack of Web Mercator tiles as a raster. It has no projections: no text is understood, and
/// points stay as they were.
class PackAccessor : public KxRasterDataAccessor, public KxRasterDescriber
{
public:
    PackAccessor();
    ~PackAccessor() override;

    unsigned char Initialize() override;
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

    /// The system of the tiles' grid.
    void Describe(KxRasterDescription& description) const override;

private:
    unsigned char RefuseProjection();
    void Take(const KxString& path, std::unique_ptr<TilePack> pack);

    std::unique_ptr<TilePack> m_pack; ///< null until a file was opened
};

} // namespace KxC
