// SPDX-License-Identifier: MIT
#include "ScriptedDefinition.h"

namespace KxC {

namespace Testing {

namespace {

ScriptedDefinition* g_current = nullptr;

} // namespace

ScriptedDefinition::ScriptedDefinition()
{
    g_current = this;
}

ScriptedDefinition::~ScriptedDefinition()
{
    g_current = nullptr;
}

} // namespace Testing

unsigned char KxUtility::LoadNewTSD(const KxString& path,
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
                                    KxArray<KxString>& headers)
{
    Testing::ScriptedDefinition* from = Testing::g_current;
    if (from == nullptr)
        return 0;
    from->m_pathsRead.emplace_back(path.Cstr());
    if (from->m_result == 0)
        return 0;
    levelBounds = from->m_levelBounds;
    tileSize = from->m_tileSize;
    value1 = from->m_values[0];
    value2 = from->m_values[1];
    value3 = from->m_values[2];
    imageFormat = from->m_imageFormat;
    attr1 = from->m_attrs[0];
    attr2 = from->m_attrs[1];
    attr3 = from->m_attrs[2];
    attr4 = from->m_attrs[3];
    attr5 = from->m_attrs[4];
    scheme = from->m_scheme;
    version = from->m_version;
    urlTemplate = from->m_urlTemplate;
    option1 = from->m_options[0];
    option2 = from->m_options[1];
    option3 = from->m_options[2];
    levelOffset = from->m_levelOffset;
    axisOrder = from->m_axisOrder;
    rowDirection = from->m_rowDirection;
    userAgent = from->m_userAgent;
    datum = from->m_datum;
    serverParts = from->m_serverParts;
    script = from->m_script;
    for (const KxString& header : from->m_headers)
        headers.Add(header);
    return 1;
}

} // namespace KxC
