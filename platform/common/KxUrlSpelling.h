// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

namespace KxC {

/// An address in the spelling that sources built from parameters take.
struct KxUrlSpelling
{
    KxString m_strUrl;             ///< with {$x}, {$y}, {$z}, {$quadkey} and {$serverpart} only
    KxString m_strServerParts;     ///< those that the address names itself, as in {a-c}
    int m_nLevelOffset = 0;        ///< that of {z+1}
    bool m_bRowsFromSouth = false; ///< {-y}
    bool m_bForeign = false;       ///< other programs' placeholders stood in it
    /// Why it cannot be said so, to be put behind the address; empty when it can.
    KxString m_strFault;
};

/// Rewrites other programs' placeholders, such as {x}, {-y}, {s} and {quadkey}, which definitions
/// take too. An address without any comes back as it is. Any thread.
KXCOMMON_API KxUrlSpelling SpellUrl(const KxString& url);

} // namespace KxC
