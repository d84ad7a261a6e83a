// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

namespace KxC {

/// One attribute of a feature: its field and its value as text.
class KXCOMMON_API KxFieldAttr
{
public:
    /// How a field is declared.
    struct KXCOMMON_API KxFieldDef
    {
        KxString m_strName;
        int m_nType = 0;
        int m_nWidth = 0;     ///< characters
        int m_nPrecision = 0; ///< digits after the decimal point
    };

    KxFieldAttr();
    KxFieldAttr(const KxFieldAttr& other);
    KxFieldAttr(KxFieldAttr&& other) noexcept;
    KxFieldAttr& operator=(const KxFieldAttr& other);
    KxFieldAttr& operator=(KxFieldAttr&& other) noexcept;
    virtual ~KxFieldAttr();

    KxFieldDef m_def;
    KxString m_strValue;
};

} // namespace KxC
