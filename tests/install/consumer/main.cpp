// SPDX-License-Identifier: MIT
#include <KxString.h>
#include <KxTileFetcher.h>

#include <cstdio>

int main()
{
    const KxC::KxString quadKey = KxC::KxTileFetcher::BingMapTileToQuadKey(5, 3, 3);
    std::puts(quadKey.Cstr());
}
