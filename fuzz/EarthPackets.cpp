// SPDX-License-Identifier: MIT
// What an earth server sends, to every reader of it.
#include "FuzzEntry.h"
#include "FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    KxC::Earth::ReadEverything(bytes, size);
    return 0;
}
