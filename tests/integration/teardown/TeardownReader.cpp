// SPDX-License-Identifier: MIT
// A reader plug-in that tells of its objects' ends, each on a line of the file that
// $KXTILE_TEARDOWN_LOG names: "raster PATH" or "projection TEXT". It opens every path.
#include "KxRasterDataAccessor.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using KxC::KxString;

class TeardownReader : public KxC::KxRasterDataAccessor
{
public:
    ~TeardownReader() override
    {
        const char* const path = std::getenv("KXTILE_TEARDOWN_LOG");
        std::FILE* const log = path != nullptr ? std::fopen(path, "a") : nullptr;
        if (log == nullptr)
            return;
        std::fprintf(log, "%s\n", m_what.c_str());
        std::fclose(log);
    }

    unsigned char Initialize() override { return 1; }
    unsigned char IsAvailable() override { return 1; }
    int GetMinLevel() override { return 0; }
    int GetMaxLevel() override { return 5; }
    unsigned char SetProj4(const KxString& text) override { return Take(text.Cstr()); }
    unsigned char SetEsriPrj(const char* text) override { return Take(text); }
    unsigned char SetEPSG(const char* text) override { return Take(text); }
    unsigned char SetWKT(const char* text) override { return Take(text); }
    unsigned char SetAuthority(const char* text) override { return Take(text); }
    unsigned char SetPrjFile(const KxString& text) override { return Take(text.Cstr()); }
    void SrcPtToWGS84Pt(const KxC::KxPoint3d& in, KxC::KxPoint3d& out) override { out = in; }
    void WGS84PtToSrcPt(const KxC::KxPoint3d& in, KxC::KxPoint3d& out) override { out = in; }
    unsigned char Open(const KxString& path) override
    {
        m_what = std::string("raster ") + path.Cstr();
        m_strDataPath = path;
        return 1;
    }
    void ReadTileImage(KxC::KxImageData*& image, int, int, int) override { image = nullptr; }
    int ReadTileData(int, int, int, unsigned char*& bytes, unsigned int& size) override
    {
        bytes = nullptr;
        size = 0;
        return 0;
    }

private:
    unsigned char Take(const char* text)
    {
        m_what = std::string("projection ") + text;
        return 1;
    }

    std::string m_what = "unused";
};

KxC::KxPlugin* Create()
{
    return new TeardownReader;
}

const KxC::KxPluginDeclaration kDeclaration = {
    KxC::KxPluginDeclaration::kAbi, "AccessorPlugin", ".shp .ends", &Create};

} // namespace

extern "C" __attribute__((visibility("default"))) const KxC::KxPluginDeclaration* KxDeclarePlugin()
{
    return &kDeclaration;
}
