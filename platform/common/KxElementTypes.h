// SPDX-License-Identifier: MIT
/// Element types that only the exported containers name. The library stores and copies them and
/// reads nothing of them. They are visible outside because the exported instantiations are.
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

namespace KxC {

class KXCOMMON_API KxFeature;
class KXCOMMON_API KxRawDataCache;
struct KXCOMMON_API KxSMeshUVMoveParam;

/// One level of a tile grid.
struct KXCOMMON_API KxGridLevelInfo
{
    int m_nLevel = 0;
    double m_dResolution = 0.0; ///< units a pixel
};

/// One entry of a plug-in list.
struct KXCOMMON_API KxSPluginElem
{
    KxString m_strKind;
    KxString m_strPath;
};

/// One entry of a project.
struct KXCOMMON_API KxProjectItem
{
    KxString m_strName;
    KxString m_strPath;
};

/// One folder given relative to another.
struct KXCOMMON_API KxSRelativeDirItem
{
    KxString m_strBaseDir;
    KxString m_strRelativeDir;
};

} // namespace KxC
