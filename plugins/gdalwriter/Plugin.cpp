// SPDX-License-Identifier: MIT
#include "CogWriter.h"
#include "KxPlugin.h"

namespace KxC {

namespace {

KxPlugin* Create()
{
    return new CogWriter;
}

const KxPluginDeclaration kDeclaration = {
    KxPluginDeclaration::kAbi, "RasterWriterPlugin", ".tif .tiff", &Create};

} // namespace

} // namespace KxC

extern "C" __attribute__((visibility("default"))) const KxC::KxPluginDeclaration* KxDeclarePlugin()
{
    return &KxC::kDeclaration;
}
