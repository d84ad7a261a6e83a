// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxContainers.h"
#include "KxRect2d.h"
#include "KxString.h"

#include <vector>

namespace KxC {

/// Where a tile source has tiles.
struct KxSLevelBounds
{
    KxRect2d m_rect; ///< degrees
    int m_nMinLevel = 0;
    int m_nMaxLevel = 0;
};

/// What the definition loader has to say about one place of a definition.
struct KxTSDMessage
{
    bool m_bError = false;    ///< false: the definition loaded all the same
    int m_nLine = 0;          ///< from 1; 0 when no line applies
    KxString m_strKey;        ///< the key it is about, empty when none
    KxString m_strText;       ///< what is wrong and what would be right, with "; " between the two
    bool m_bMisleads = false; ///< gives no right tiles; an error without it lacks a variable
};

class KXCOMMON_API KxUtility
{
public:
    /// Reads a tile-source definition (docs/tile-sources.md) in any of the forms that are known;
    /// its content tells which. What the file does not say is left as it is in the outputs; so is
    /// everything when it fails.
    /// @param path  a file; of one that holds several sources "#name" behind it chooses one
    /// @param headers  entries are appended
    /// @return 1, or 0 when the file could not be read or understood; GetLastTSDMessages says why
    static unsigned char LoadNewTSD(const KxString& path,
                                    KxSLevelBounds& levelBounds,
                                    int& tileSize,
                                    int& value1,
                                    int& value2,
                                    int& value3,
                                    KxString& imageFormat,
                                    KxString& attr1,
                                    KxString& scheme,
                                    KxString& version,
                                    KxString& attr2,
                                    KxString& attr3,
                                    KxString& urlTemplate,
                                    unsigned char& option1,
                                    unsigned char& option2,
                                    unsigned char& option3,
                                    int& levelOffset,
                                    KxString& attr4,
                                    KxString& axisOrder,
                                    KxString& rowDirection,
                                    KxString& userAgent,
                                    KxString& attr5,
                                    KxString& datum,
                                    KxString& serverParts,
                                    KxString& script,
                                    KxArray<KxString>& headers);

    /// Reads a definition from memory and checks it as LoadNewTSD would; what there is to say is
    /// in GetLastTSDMessages.
    /// @param text  the definition's bytes, at most 1 MiB
    /// @param path  where it would stand: its folder and its "#name" count
    /// @return 1 when LoadNewTSD would read it
    static unsigned char CheckTSDText(const KxString& text, const KxString& path);

    /// Errors and warnings of the calling thread's last LoadNewTSD or CheckTSDText; valid until
    /// its next one.
    static const std::vector<KxTSDMessage>& GetLastTSDMessages();

    /// A key for caches and folders: the host of a URL as far as it is readable, then the 128-bit
    /// hash of the whole text in hexadecimal. Equal texts give equal keys, on every machine.
    /// @return 32 to 90 bytes of [a-z0-9._-], never starting with a dot
    static KxString GetValidHashKey(const KxString& text);

    /// Converts UTF-8 to GBK; what GBK lacks, and damaged UTF-8, becomes '?'.
    static KxString ToGBK(const KxString& utf8);
};

} // namespace KxC
