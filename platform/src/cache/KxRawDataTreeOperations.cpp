// SPDX-License-Identifier: MIT
// Operations on a whole sub-tree. They have a connection of their own, open the file for reading,
// and never set it aside.
#include "KxRawDataTypeCache.h"
#include "KxTileArchiveWriter.h"
#include "SubTreeFolder.h"
#include "TileDatabase.h"

#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace KxC {

namespace {

KxRawDataTreeResult TreeResultOf(DatabaseResult result)
{
    switch (result) {
    case DatabaseResult::Done:
        return KxRawDataTreeResult_Done;
    case DatabaseResult::Missing:
        return KxRawDataTreeResult_Missing;
    case DatabaseResult::Refused:
        return KxRawDataTreeResult_Foreign;
    case DatabaseResult::Damaged:
        return KxRawDataTreeResult_Damaged;
    default:
        return KxRawDataTreeResult_Failed;
    }
}

KxRawDataTreeResult
OpenTree(KxRawDataTypeCacheManager::CacheType type, const KxString& name, TileDatabase& database)
{
    const std::string_view view(name.Cstr(), static_cast<std::size_t>(name.GetLength()));
    if (!IsCacheType(type) || !IsSubTreeName(view))
        return KxRawDataTreeResult_Missing;
    return TreeResultOf(database.Open(SubTreePath(SubTreeFolder(type), view), false));
}

/// Shows one tile to the visitor.
DatabaseResult
Show(TileDatabase& database, const TilePlace& place, KxRawDataTileVisitor& visitor, bool& goOn)
{
    KxSRawDataTypeCacheItem item;
    const DatabaseResult loaded = database.Load(place, item);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(item.m_pData, &std::free);
    if (loaded == DatabaseResult::Done && item.m_nState == GetchResult_HasData) {
        const unsigned char nothing = 0; // a tile of no bytes is not one that cannot be read
        goOn = visitor.Visit(place.m_nLevel,
                             place.m_nRow,
                             place.m_nCol,
                             item.m_nSize == 0 ? &nothing : item.m_pData,
                             item.m_nSize);
        return DatabaseResult::Done;
    }
    if (loaded == DatabaseResult::Damaged)
        goOn = visitor.Visit(place.m_nLevel, place.m_nRow, place.m_nCol, nullptr, 0);
    // What is missing was removed since it was found.
    return loaded == DatabaseResult::Failed ? loaded : DatabaseResult::Done;
}

KxRawDataTreeResult Walk(TileDatabase& database, KxRawDataTileVisitor& visitor)
{
    constexpr int kFirst = std::numeric_limits<int>::min();
    TilePlace place{kFirst, kFirst, kFirst};
    for (;;) {
        const DatabaseResult next = database.Next(place);
        if (next != DatabaseResult::Done)
            return next == DatabaseResult::Missing ? KxRawDataTreeResult_Done : TreeResultOf(next);
        bool goOn = true;
        const DatabaseResult shown = Show(database, place, visitor, goOn);
        if (shown != DatabaseResult::Done)
            return TreeResultOf(shown);
        if (!goOn)
            return KxRawDataTreeResult_Stopped;
    }
}

/// Lets the watcher see each tile, then writes it.
class WritingVisitor : public KxRawDataTileVisitor
{
public:
    WritingVisitor(KxTileArchiveWriter& writer, KxRawDataTileVisitor& watcher)
        : m_writer(writer), m_watcher(watcher)
    {
    }

    bool Visit(int level, int row, int col, const unsigned char* bytes, unsigned int size) override
    {
        if (!m_watcher.Visit(level, row, col, bytes, size))
            return false;
        m_failed = !m_writer.AddTile(level, row, col, bytes, size);
        return !m_failed;
    }
    bool HasFailed() const { return m_failed; }

private:
    KxTileArchiveWriter& m_writer;
    KxRawDataTileVisitor& m_watcher;
    bool m_failed = false;
};

void Fill(KxRawDataExportReport& report, const KxTileArchiveWriter& writer)
{
    const KxTileArchiveReport& written = writer.GetReport();
    report.m_nTiles = written.m_nTiles;
    report.m_nPictures = written.m_nPictures;
    report.m_nSkipped = written.m_nSkipped;
    report.m_nMinLevel = written.m_nMinLevel;
    report.m_nMaxLevel = written.m_nMaxLevel;
    report.m_bounds = written.m_bounds;
    report.m_strFormat = written.m_strFormat;
    report.m_strError = writer.GetError();
}

KxRawDataTreeResult Export(TileDatabase& database,
                           const KxRawDataExportOptions& options,
                           KxRawDataTileVisitor& watcher,
                           KxRawDataExportReport& report)
{
    KxTileArchiveWriter writer;
    WritingVisitor visitor(writer, watcher);
    KxRawDataTreeResult result = KxRawDataTreeResult_Failed;
    if (writer.Create(options.m_strPath,
                      KxTileArchiveFormat_MBTiles,
                      {options.m_strName, options.m_strDescription, options.m_strAttribution}))
        result = Walk(database, visitor);
    if (visitor.HasFailed() || (result == KxRawDataTreeResult_Done && !writer.Finish()))
        result = KxRawDataTreeResult_Failed;
    Fill(report, writer);
    return result;
}

} // namespace

KxRawDataTileVisitor::~KxRawDataTileVisitor() = default;

KxRawDataTreeResult KxRawDataTypeCacheManager::VisitTiles(CacheType type,
                                                          const KxString& name,
                                                          KxRawDataTileVisitor& visitor)
try {
    TileDatabase database;
    const KxRawDataTreeResult opened = OpenTree(type, name, database);
    return opened == KxRawDataTreeResult_Done ? Walk(database, visitor) : opened;
} catch (...) {
    return KxRawDataTreeResult_Failed;
}

KxRawDataTreeResult KxRawDataTypeCacheManager::CheckSubTree(CacheType type,
                                                            const KxString& name,
                                                            std::vector<KxString>& problems)
try {
    problems.clear();
    TileDatabase database;
    const KxRawDataTreeResult opened = OpenTree(type, name, database);
    if (opened == KxRawDataTreeResult_Damaged)
        problems.emplace_back("the file is no database, or its beginning is damaged");
    if (opened != KxRawDataTreeResult_Done)
        return opened;
    std::vector<std::string> texts;
    const DatabaseResult checked = database.CheckIntegrity(texts);
    for (const std::string& text : texts)
        problems.emplace_back(text.c_str());
    return TreeResultOf(checked);
} catch (...) {
    return KxRawDataTreeResult_Failed;
}

KxRawDataTreeResult KxRawDataTypeCacheManager::ExportSubTree(CacheType type,
                                                             const KxString& name,
                                                             const KxRawDataExportOptions& options,
                                                             KxRawDataTileVisitor& watcher,
                                                             KxRawDataExportReport& report)
try {
    report = {};
    TileDatabase database;
    const KxRawDataTreeResult opened = OpenTree(type, name, database);
    return opened == KxRawDataTreeResult_Done ? Export(database, options, watcher, report) : opened;
} catch (...) {
    return KxRawDataTreeResult_Failed;
}

} // namespace KxC
