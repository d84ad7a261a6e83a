// SPDX-License-Identifier: MIT
// Tile-source definitions in each form: the content tells which. The log takes a path's bytes in
// GBK, so they are converted too.
#include "FuzzBytes.h"
#include "FuzzTarget.h"
#include "KxUtility.h"

#include <algorithm>
#include <vector>

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace KxC;
    const KxString text = Fuzz::TextOf(bytes, size);
    // The second way chooses one source of several.
    for (const char* path : {"/nowhere/tiles.toml", "/nowhere/tiles.toml#two"}) {
        const bool loads = KxUtility::CheckTSDText(text, path) != 0;
        const std::vector<KxTSDMessage>& messages = KxUtility::GetLastTSDMessages();
        const bool faulty = std::any_of(messages.begin(),
                                        messages.end(),
                                        [](const KxTSDMessage& entry) { return entry.m_bError; });
        Fuzz::Require(loads != faulty, "a definition loads, or an error says why not");
    }
    // Nothing in UTF-8 is shorter than its GBK.
    Fuzz::Require(KxUtility::ToGBK(text).GetLength() <= text.GetLength(), "GBK is no longer");
    return 0;
}
