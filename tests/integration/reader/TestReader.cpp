// SPDX-License-Identifier: MIT
// A reader plug-in for tests of the command line. Its rasters are texts of one line:
//   WEST SOUTH EAST NORTH FIRST-LEVEL LAST-LEVEL KIND
// in degrees. Of the kind "squares" each tile of the geographic square has one colour. Of the kind
// "damaged" the tiles of column 4 of the geographic square's level 3, and those below them, cannot
// be read; the others are like squares. Of the kind "stored" each Web Mercator tile is the file
// <raster>.tile, but column 0 has none, and column 1 cannot be read.
#include "KxMath.h"
#include "KxRasterDataAccessor.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using KxC::KxString;

constexpr int kReadDone = 5;

class TestReader : public KxC::KxRasterDataAccessor
{
public:
    unsigned char Initialize() override { return 1; }
    unsigned char IsAvailable() override { return 1; }
    int GetMinLevel() override { return m_minLevel; }
    int GetMaxLevel() override { return m_maxLevel; }
    unsigned char SetProj4(const KxString& /*text*/) override { return 0; }
    unsigned char SetEsriPrj(const char* /*text*/) override { return 0; }
    unsigned char SetEPSG(const char* /*code*/) override { return 0; }
    unsigned char SetWKT(const char* /*text*/) override { return 0; }
    unsigned char SetAuthority(const char* /*text*/) override { return 0; }
    unsigned char SetPrjFile(const KxString& /*path*/) override { return 0; }
    void SrcPtToWGS84Pt(const KxC::KxPoint3d& in, KxC::KxPoint3d& out) override { out = in; }
    void WGS84PtToSrcPt(const KxC::KxPoint3d& in, KxC::KxPoint3d& out) override { out = in; }

    unsigned char Open(const KxString& path) override
    {
        std::ifstream file(path.Cstr());
        std::string kind;
        KxC::KxRect2d& rect = m_rectLatLon;
        if (!(file >> rect.m_dLeft >> rect.m_dBottom >> rect.m_dRight >> rect.m_dTop >>
              m_minLevel >> m_maxLevel >> kind))
            return 0;
        m_isDamaged = kind == "damaged";
        m_strDataPath = path;
        m_eGeoReferenceType = kind == "stored" ? KxC::KxEGeoReferenceType_WebMercatorTiles
                                               : KxC::KxEGeoReferenceType_Geographic;
        std::ifstream tile(std::string(path.Cstr()) + ".tile", std::ios::binary);
        m_stored.assign(std::istreambuf_iterator<char>(tile), {});
        return 1;
    }

    void ReadTileImage(KxC::KxImageData*& image, int level, int row, int col) override
    {
        image = nullptr;
        KxC::KxRect2d tile;
        KxC::KxMath::CalcTileBounds(tile, level, row, col);
        if (!m_rectLatLon.IsIntersect(tile, 0.0))
            return;
        if (m_isDamaged && level >= 3 && col >> (level - 3) == 4) {
            NoteReadFailure("the strip is cut off");
            return;
        }
        constexpr int kSize = 256;
        image = new KxC::KxImageData(kSize, kSize, KxC::KxPixelFormat_RGB);
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x) {
                const unsigned char pixel[] = {static_cast<unsigned char>(level * 10),
                                               static_cast<unsigned char>(row * 8),
                                               static_cast<unsigned char>(col * 8)};
                image->SetValue(y, x, pixel, 3);
            }
    }

    int ReadTileData(
        int /*level*/, int /*row*/, int col, unsigned char*& bytes, unsigned int& size) override
    {
        bytes = nullptr;
        size = 0;
        if (col < 2)
            return col == 0 ? kReadDone : 0;
        bytes = static_cast<unsigned char*>(std::malloc(m_stored.size()));
        std::memcpy(bytes, m_stored.data(), m_stored.size());
        size = static_cast<unsigned int>(m_stored.size());
        return kReadDone;
    }

private:
    int m_minLevel = 0;
    int m_maxLevel = 0;
    bool m_isDamaged = false;
    std::string m_stored;
};

KxC::KxPlugin* Create()
{
    return new TestReader;
}

const KxC::KxPluginDeclaration kDeclaration = {
    KxC::KxPluginDeclaration::kAbi, "AccessorPlugin", ".testraster", &Create};

} // namespace

extern "C" __attribute__((visibility("default"))) const KxC::KxPluginDeclaration* KxDeclarePlugin()
{
    return &kDeclaration;
}
