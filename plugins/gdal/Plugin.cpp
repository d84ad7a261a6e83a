// SPDX-License-Identifier: MIT
#include "GdalAccessor.h"
#include "KxPlugin.h"
#include "KxProjManagerCleaner.h"
#include "LiveHolders.h"

namespace KxC {

namespace {

void ReleaseIdle()
{
    LiveHolders::Instance().Release();
}

KxPlugin* Create()
{
    KxProjManagerCleaner::AddRelease(&ReleaseIdle);
    return new GdalAccessor;
}

// ".shp" is the extension by which transforms ask for projections; the others are those of rasters
// that FileCheck.cpp lets through.
constexpr const char* kExtensions = ".shp .tif .tiff .gtiff .btf .vrt .jpg .jpeg .jpe .png .jp2 "
                                    ".j2k .j2c .jpx .img .bmp .gif .webp "
                                    ".asc .bil .flt .hgt .dem .dt0 .dt1 .dt2 .ntf";

const KxPluginDeclaration kDeclaration = {
    KxPluginDeclaration::kAbi, "AccessorPlugin", kExtensions, &Create};

} // namespace

} // namespace KxC

extern "C" __attribute__((visibility("default"))) const KxC::KxPluginDeclaration* KxDeclarePlugin()
{
    return &KxC::kDeclaration;
}
