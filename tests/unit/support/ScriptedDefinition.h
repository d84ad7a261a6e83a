// SPDX-License-Identifier: MIT
/// Stands in front of the definition loader: hands back the 25 values that a test scripted.
#pragma once

#include "KxUtility.h"

#include <string>
#include <vector>

namespace KxC::Testing {

/// In force while it lives; one at a time. Without one, every definition cannot be read.
class ScriptedDefinition
{
public:
    ScriptedDefinition();
    ~ScriptedDefinition();
    ScriptedDefinition(const ScriptedDefinition&) = delete;
    ScriptedDefinition& operator=(const ScriptedDefinition&) = delete;

    std::vector<std::string> m_pathsRead;

    unsigned char m_result = 1;
    KxSLevelBounds m_levelBounds;
    int m_tileSize = 256;
    int m_values[3] = {1, 1, 0};
    KxString m_imageFormat;
    KxString m_attrs[5];
    KxString m_scheme;
    KxString m_version;
    KxString m_urlTemplate;
    unsigned char m_options[3] = {0, 0, 1};
    int m_levelOffset = 0;
    KxString m_axisOrder;
    KxString m_rowDirection;
    KxString m_userAgent;
    KxString m_datum;
    KxString m_serverParts;
    KxString m_script;
    std::vector<KxString> m_headers;
};

} // namespace KxC::Testing
