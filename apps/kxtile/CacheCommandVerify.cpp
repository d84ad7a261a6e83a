// SPDX-License-Identifier: MIT
#include "CacheCommand.h"
#include "CacheParts.h"
#include "KxCompress.h"
#include "KxFile.h"
#include "KxImgUtility.h"
#include "SourceArgument.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <memory>
#include <vector>

namespace KxTileHost {

namespace {

using KxC::KxRawDataTreeResult;

/// More of a bad file would tell no more.
constexpr std::size_t kMaxDamagedTiles = 1000;
constexpr unsigned int kMaxInflatedBytes = 64U << 20;

struct Bytes
{
    const unsigned char* m_data;
    unsigned int m_size;
};

bool IsPicture(Bytes bytes)
{
    if (KxC::KxImgUtility::IsCompletedImage(bytes.m_data, bytes.m_size, "") == 0)
        return false;
    const std::unique_ptr<KxC::KxImageData> image(
        KxC::KxImgUtility::LoadImageData(bytes.m_data, bytes.m_size, "", 1, 1));
    return image != nullptr;
}

bool IsGzip(Bytes bytes)
{
    return bytes.m_size >= 18 && bytes.m_data[0] == 0x1f && bytes.m_data[1] == 0x8b;
}

/// The length that a gzip stream ends with.
unsigned int InflatedSize(Bytes bytes)
{
    const unsigned char* const end = bytes.m_data + bytes.m_size;
    return static_cast<unsigned int>(end[-4]) | static_cast<unsigned int>(end[-3]) << 8U |
           static_cast<unsigned int>(end[-2]) << 16U | static_cast<unsigned int>(end[-1]) << 24U;
}

bool InflatesToPicture(Bytes bytes)
{
    unsigned int size = InflatedSize(bytes);
    if (size == 0 || size > kMaxInflatedBytes)
        return false;
    std::vector<unsigned char> inflated(size);
    return KxC::KxCompress::GZipDecompress(bytes.m_data, bytes.m_size, inflated.data(), size) ==
               0 &&
           IsPicture({inflated.data(), size});
}

/// What is wrong with a stored tile; empty when nothing is.
std::string FaultOf(Bytes bytes)
{
    if (bytes.m_data == nullptr)
        return "cannot be read from the file";
    if (bytes.m_size == 0)
        return "has no bytes";
    if (IsGzip(bytes))
        return InflatesToPicture(bytes) ? "" : "does not inflate to a whole picture";
    return IsPicture(bytes) ? "" : "is no whole picture";
}

struct DamagedTile
{
    int m_level;
    int m_row; ///< from the north
    int m_col;
    std::string m_fault;
};

/// Looks at every tile of a sub-tree.
class Inspector : public KxC::KxRawDataTileVisitor
{
public:
    explicit Inspector(const CachePart& part)
        : m_progress(part.ReadableName(), part.m_info.m_nTiles)
    {
    }

    bool Visit(int level, int row, int col, const unsigned char* bytes, unsigned int size) override
    {
        m_progress.Next();
        ++m_tiles;
        const std::string fault = FaultOf({bytes, size});
        if (!fault.empty())
            m_damaged.push_back({level, RowFromNorth(level, row), col, fault});
        return m_damaged.size() < kMaxDamagedTiles;
    }

    unsigned long long GetTiles() const { return m_tiles; }
    const std::vector<DamagedTile>& GetDamaged() const { return m_damaged; }

private:
    /// A row on no level stays as it is.
    static int RowFromNorth(int level, int row)
    {
        const bool onLevel = level >= 0 && level <= 30 && row >= 0 && row < (1 << level);
        return onLevel ? (1 << level) - 1 - row : row;
    }

    Progress m_progress;
    unsigned long long m_tiles = 0;
    std::vector<DamagedTile> m_damaged;
};

/// What came of checking one sub-tree.
struct Finding
{
    CachePart m_part;
    std::string m_state;
    unsigned long long m_tiles = 0;
    std::vector<std::string> m_problems;
    std::vector<DamagedTile> m_damaged;

    bool IsDamaged() const { return m_state == "damaged"; }
};

std::string StateOf(KxRawDataTreeResult result)
{
    switch (result) {
    case KxC::KxRawDataTreeResult_Done:
        return "sound";
    case KxC::KxRawDataTreeResult_Missing:
        return "empty";
    case KxC::KxRawDataTreeResult_Foreign:
        return "foreign";
    case KxC::KxRawDataTreeResult_Failed:
        return "unreadable";
    default:
        return "damaged";
    }
}

Finding Check(const CachePart& part)
{
    KxC::KxRawDataTypeCacheManager& cache = KxC::m_gRawDataTypeCacheManager;
    Finding finding;
    finding.m_part = part;
    std::vector<KxC::KxString> problems;
    const KxRawDataTreeResult checked =
        cache.CheckSubTree(part.m_type, part.m_info.m_strName, problems);
    finding.m_state = StateOf(checked);
    for (const KxC::KxString& problem : problems)
        finding.m_problems.emplace_back(problem.Cstr());
    // Also in a damaged file: which tiles it has lost is worth knowing.
    if (checked != KxC::KxRawDataTreeResult_Done && checked != KxC::KxRawDataTreeResult_Damaged)
        return finding;
    Inspector inspector(part);
    const KxRawDataTreeResult walked =
        cache.VisitTiles(part.m_type, part.m_info.m_strName, inspector);
    finding.m_tiles = inspector.GetTiles();
    finding.m_damaged = inspector.GetDamaged();
    if (!finding.m_damaged.empty())
        finding.m_state = "damaged";
    else if (checked == KxC::KxRawDataTreeResult_Done)
        finding.m_state = StateOf(walked);
    return finding;
}

void PrintAsText(const Finding& finding)
{
    static const std::map<std::string, std::string> kAdvice{
        {"foreign", "; it is another program's or of a later version, and left alone"},
        {"unreadable", "; check that it may be read"},
        {"damaged", "; 'kxtile cache clear' forgets it"}};
    const auto advice = kAdvice.find(finding.m_state);
    fmt::print("{:<10} {:>9} tile{}  {}{}\n",
               finding.m_state,
               finding.m_tiles,
               finding.m_tiles == 1 ? " " : "s",
               finding.m_part.ReadableName(),
               advice == kAdvice.end() ? "" : advice->second);
    for (const std::string& problem : finding.m_problems)
        fmt::print("  {}\n", problem);
    for (const DamagedTile& tile : finding.m_damaged)
        fmt::print("  tile {}/{}/{} {}\n", tile.m_col, tile.m_row, tile.m_level, tile.m_fault);
    if (finding.m_damaged.size() == kMaxDamagedTiles)
        fmt::print("  and perhaps more: looking ended after {} damaged tiles\n", kMaxDamagedTiles);
}

nlohmann::ordered_json AsJson(const Finding& finding)
{
    nlohmann::ordered_json tiles = nlohmann::ordered_json::array();
    for (const DamagedTile& tile : finding.m_damaged)
        tiles.push_back({{"column", tile.m_col},
                         {"row", tile.m_row},
                         {"level", tile.m_level},
                         {"fault", tile.m_fault}});
    const KxC::KxRawDataSubTreeInfo& info = finding.m_part.m_info;
    return {{"name", info.m_strName.Cstr()},
            {"kind", finding.m_part.Kind()},
            {"description", info.m_strDescription.Cstr()},
            {"file", info.m_strPath.Cstr()},
            {"state", finding.m_state},
            {"tiles", finding.m_tiles},
            {"problems", finding.m_problems},
            {"damaged", tiles}};
}

void RunVerify(const GlobalOptions& options, const SourceArgument& source)
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    int damaged = 0;
    const std::vector<CachePart> parts =
        source.GetText().empty() ? ListCacheParts() : ListCachePartsOf(source);
    for (const CachePart& part : parts) {
        const Finding finding = Check(part);
        damaged += finding.IsDamaged() || finding.m_state == "unreadable" ? 1 : 0;
        if (options.m_json)
            list.push_back(AsJson(finding));
        else
            PrintAsText(finding);
    }
    if (options.m_json)
        PrintJson({{"folder", KxC::KxFile::m_strAppCachePath.Cstr()},
                   {"damaged", damaged},
                   {"sources", list}});
    else if (parts.empty())
        PrintNothingKept(source);
    if (damaged > 0)
        throw CommandError(kExitFailed, options.m_json ? "" : "the cache is damaged");
}

} // namespace

void AddCacheVerifyCommand(CLI::App& cache, const GlobalOptions& options)
{
    CLI::App* verify = cache.add_subcommand(
        "verify", "Check the databases and every tile that is kept, also by serve");
    const auto source = std::make_shared<SourceArgument>();
    source->AddTo(*verify);
    verify->get_option("SOURCE")->required(false);
    verify->footer("Changes nothing, and may run while other programs use the cache. Exit code 1 "
                   "when something is damaged.\nExamples:\n  kxtile cache verify\n"
                   "  kxtile cache verify osm.toml --json");
    verify->callback([&options, source] { RunVerify(options, *source); });
}

} // namespace KxTileHost
