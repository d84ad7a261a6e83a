// SPDX-License-Identifier: MIT
#include "GdalAccessor.h"
#include "KxPlugin.h"
#include "KxProjManagerCleaner.h"
#include "LiveProjections.h"

namespace KxC {

namespace {

void ReleaseProjections()
{
    LiveProjections::Instance().Release();
}

KxPlugin* Create()
{
    KxProjManagerCleaner::AddRelease(&ReleaseProjections);
    return new GdalAccessor;
}

// The extension by which transforms ask for projections.
const KxPluginDeclaration kDeclaration = {
    KxPluginDeclaration::kAbi, "AccessorPlugin", ".shp", &Create};

} // namespace

} // namespace KxC

extern "C" __attribute__((visibility("default"))) const KxC::KxPluginDeclaration* KxDeclarePlugin()
{
    return &KxC::kDeclaration;
}
