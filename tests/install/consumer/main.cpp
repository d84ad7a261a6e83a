// SPDX-License-Identifier: MIT
#include <KxCoordSysTrans.h>
#include <KxString.h>
#include <KxTileFetcher.h>

#include <cstdio>

int main()
{
    const KxC::KxString quadKey = KxC::KxTileFetcher::BingMapTileToQuadKey(5, 3, 3);
    std::puts(quadKey.Cstr());
    // Finds the installed plug-in; an empty line when it does.
    const KxC::KxCoordSysTrans* transform =
        KxC::m_gCoordSysTransManager.GetKxCoordSysTrans("32633", KxC::ProjectStringType_EPSG);
    std::puts(transform->GetError().Cstr());
}
