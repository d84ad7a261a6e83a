// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "KxTSDParam.h"
#include "LogTexts.h"
#include "SourceTexts.h"

#include <array>
#include <new>
#include <utility>

namespace KxC {

namespace {

/// Axis-order text of a template with named placeholders: the numbers in the order in which they
/// stand. One that is absent has position -1 and comes first; equal positions keep X, Y, Z.
KxString AxisOrderOf(const KxString& urlTemplate)
{
    std::array<std::pair<const char*, int>, 3> axes{{{"X", urlTemplate.Find("{$x}", 0)},
                                                     {"Y", urlTemplate.Find("{$y}", 0)},
                                                     {"Z", urlTemplate.Find("{$z}", 0)}}};
    // This exchange sort, not a stable one: it decides the order when several are absent.
    for (std::size_t i = 0; i < 2; ++i)
        for (std::size_t j = i + 1; j < 3; ++j)
            if (axes[j].second < axes[i].second)
                std::swap(axes[i], axes[j]);
    return KxString(axes[0].first) + "," + axes[1].first + "," + axes[2].first;
}

/// Makes the history-imagery fetcher of a scheme-8 source; a failed allocation leaves none.
/// @return whether one was made now
bool MakeGeFetcher(KxTSDParamItem& item)
{
    if (item.m_nTileScheme != kSchemeEarthHistory || item.m_pGeFetcher != nullptr)
        return false;
    item.m_pGeFetcher = new (std::nothrow) KxGeFetcher;
    if (item.m_pGeFetcher == nullptr)
        return false;
    item.m_pGeFetcher->SetRequest(&item.m_strUserAgent, &item.m_arrRequestHeaders);
    return true;
}

/// Loads the URL script, when there is one: the text, else the file that the template names.
void LoadScript(KxTSDParamItem& item, const KxString& definitionPath, const KxString& script)
{
    if (script.IsEmpty() == 0) {
        item.m_bLuaScripted = 1;
        item.m_luaToolkit.LoadFromString(script);
        return;
    }
    if (KxFile::GetExt(item.m_strUrlTemplate).CompareNoCase(".lua") != 0)
        return;
    item.m_bLuaScripted = 1;
    item.m_luaToolkit.LoadFile(
        KxFile::GetFttpAbsolutePath(KxFile::GetDir(definitionPath), item.m_strUrlTemplate));
}

} // namespace

KxTSDParamItem::KxTSDParamItem()
    : m_bFromDefinitionFile(0), m_nTileScheme(0), m_nDatum(0), m_bOption1(0), m_bOption2(0),
      m_bOption3(1), m_bHasServerPart(0), m_nTileSize(256), m_nValue1(1), m_nValue2(1),
      m_nValue3(0), m_nLevelOffset(0), m_nSouthToNorth(0), m_nAxisOrder(0), m_bLuaScripted(0),
      m_bHistoryDataUsed(0), m_pGeFetcher(nullptr)
{
}

KxTSDParamItem::~KxTSDParamItem()
{
    delete m_pGeFetcher;
}

void KxTSDParamItem::LoadFromTSDFile(const KxString& path)
{
    KxString scheme;
    KxString axisOrder;
    KxString datum;
    KxString script;
    const unsigned char loaded = KxUtility::LoadNewTSD(path,
                                                       m_levelBounds,
                                                       m_nTileSize,
                                                       m_nValue1,
                                                       m_nValue2,
                                                       m_nValue3,
                                                       m_strImageFormat,
                                                       m_strAttr1,
                                                       scheme,
                                                       m_strVersion,
                                                       m_strAttr2,
                                                       m_strAttr3,
                                                       m_strUrlTemplate,
                                                       m_bOption1,
                                                       m_bOption2,
                                                       m_bOption3,
                                                       m_nLevelOffset,
                                                       m_strAttr4,
                                                       axisOrder,
                                                       m_strRowDirection,
                                                       m_strUserAgent,
                                                       m_strAttr5,
                                                       datum,
                                                       m_strServerParts,
                                                       script,
                                                       m_arrRequestHeaders);
    if (loaded == 0)
        KxFile::WriteLogInfo(KxUtility::ToGBK(path) + LogTexts::kOpenFailed);

    // The key is the template's before its server placeholder is replaced, so that it names the
    // source as its author wrote it.
    m_strHashKey = KxUtility::GetValidHashKey(m_strUrlTemplate);
    m_nTileScheme = SchemeFromText(scheme);
    m_nDatum = DatumFromText(datum);
    if (IsSouthToNorth(m_strRowDirection))
        m_nSouthToNorth = 1;
    m_nAxisOrder = AxisOrderFromText(axisOrder).value_or(m_nAxisOrder);
    SplitServerParts(m_strServerParts, m_arrServerParts);
    if (ReplaceServerPart(m_strUrlTemplate))
        m_bHasServerPart = 1;
    LoadScript(*this, path, script);
    MakeGeFetcher(*this);
    m_bFromDefinitionFile = 1;
}

void KxTSDParamItem::LoadFromParam(const KxString& urlTemplate,
                                   const KxString& serverParts,
                                   int tileScheme,
                                   int datum,
                                   int southToNorth,
                                   int levelOffset,
                                   int tileSize,
                                   const KxString& /*imageFormat*/,
                                   unsigned char historyDataUsed,
                                   const KxTime& historyTime)
{
    m_bHistoryDataUsed = historyDataUsed;
    m_historyTime = historyTime;
    m_strUrlTemplate = urlTemplate;
    m_nTileScheme = tileScheme;
    m_nDatum = datum;
    m_nLevelOffset = levelOffset;
    m_nSouthToNorth = southToNorth;
    m_bFromDefinitionFile = 0;
    m_nTileSize = tileSize;
    m_strHashKey = KxUtility::GetValidHashKey(SourceKey(urlTemplate, historyDataUsed, historyTime));
    SplitServerParts(serverParts, m_arrServerParts);
    if (ReplaceServerPart(m_strUrlTemplate))
        m_bHasServerPart = 1;
    m_nAxisOrder = AxisOrderFromText(AxisOrderOf(m_strUrlTemplate)).value_or(m_nAxisOrder);
    for (const char* placeholder : {"{$x}", "{$y}", "{$z}"})
        m_strUrlTemplate.Replace(placeholder, "%d");
    if (MakeGeFetcher(*this) && m_bHistoryDataUsed != 0) {
        m_pGeFetcher->SetHistroyDataUsed(1);
        m_pGeFetcher->SetDataTime(historyTime);
    }
}

} // namespace KxC
