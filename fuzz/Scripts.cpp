// SPDX-License-Identifier: MIT
// URL scripts.
#include "FuzzBytes.h"
#include "FuzzTarget.h"
#include "KxLuaToolkit.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace KxC;
    constexpr int kMaxUrl = 8192;
    KxLuaToolkit toolkit;
    toolkit.LoadFromString(Fuzz::TextOf(bytes, size));
    for (const int number : {0, 7, -2147483647}) {
        const KxString url = toolkit.GetTileURL(number, number, number);
        Fuzz::Require(url.GetLength() <= kMaxUrl, "an address has at most 8 KiB");
        Fuzz::Require(url.IsEmpty() != 0 || KxLuaToolkit::GetLastError().IsEmpty() != 0,
                      "an address comes without an error");
    }
    return 0;
}
