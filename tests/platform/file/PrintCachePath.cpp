// SPDX-License-Identifier: MIT
#include "KxFile.h"

#include <cstdio>

int main()
{
    std::puts(KxC::KxFile::m_strAppCachePath.Cstr());
}
