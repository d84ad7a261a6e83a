// SPDX-License-Identifier: MIT
#include "KxPlugin.h"
#include "PackAccessor.h"

namespace KxC {

namespace {

KxPlugin* Create()
{
    return new PackAccessor;
}

const KxPluginDeclaration kDeclaration = {
    KxPluginDeclaration::kAbi, "AccessorPlugin", ".mbtiles .pmtiles", &Create};

} // namespace

} // namespace KxC

extern "C" __attribute__((visibility("default"))) const KxC::KxPluginDeclaration* KxDeclarePlugin()
{
    return &KxC::kDeclaration;
}
