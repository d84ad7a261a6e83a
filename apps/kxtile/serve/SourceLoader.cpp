// SPDX-License-Identifier: MIT
#include "serve/SourceLoader.h"

#include "Command.h"
#include "DefinitionFindings.h"
#include "EarthSource.h"
#include "KxGeFetcher.h"
#include "KxPlugin.h"
#include "KxRasterDataAccessor.h"
#include "KxTileFetcher.h"
#include "KxUtility.h"
#include "RasterArgument.h"
#include "SourceArgument.h"
#include "SourceFormat.h"
#include "SourceGrid.h"
#include "forms/FormLimits.h"
#include "serve/Failure.h"
#include "serve/SourceEarthServer.h"
#include "serve/SourceFiles.h"
#include "serve/SourceState.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <filesystem>

namespace KxTileHost::Serve {

namespace {

namespace fs = std::filesystem;

constexpr char kRasterPlugin[] = "AccessorPlugin";

std::string LowerExtension(const std::string& path)
{
    std::string extension = fs::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char c) {
        return static_cast<char>(std::tolower(c));
    });
    return extension;
}

TileFormat FormatNamed(const KxC::KxTSDParamItem& item)
{
    if (FormatEndsIn(item, "png"))
        return TileFormat::Png;
    if (FormatEndsIn(item, "jpg") || FormatEndsIn(item, "jpeg"))
        return TileFormat::Jpeg;
    return FormatEndsIn(item, "webp") ? TileFormat::WebP : TileFormat::Natural;
}

/// Made tiles are JPEG unless the format leaves room for transparency; then it depends on the
/// pictures.
TileFormat FormatMade(const KxC::KxTSDParamItem& item)
{
    const bool keepsAlpha = item.m_strImageFormat.IsEmpty() != 0 || FormatEndsIn(item, "png");
    return keepsAlpha ? TileFormat::Natural : TileFormat::Jpeg;
}

std::string ErrorsOfLastDefinition()
{
    std::string errors;
    for (const KxC::KxTSDMessage& message : KxC::KxUtility::GetLastTSDMessages())
        if (message.m_bError)
            errors += (errors.empty() ? "" : "; ") + DescribeMessage(message);
    return errors;
}

/// All earth sources of a process ask one server.
void ChooseEarthServer(Source& source)
{
    const std::string address = source.m_item->m_strUrlTemplate.Cstr();
    if (!MayAskEarthServer(source.m_id, address)) {
        source.m_error = "another source has chosen an earth server already, and there can be one; "
                         "serve this source from a second gateway";
        source.m_isUsable = false;
        source.m_wantedEarthServer = address;
        return;
    }
    AsEarthSource(source.m_item.get(), {});
    NoteEarthServer(source.m_id, address);
}

/// Whether there is anything that tiles could be asked for with.
bool NamesAService(const KxC::KxTSDParamItem& item)
{
    return item.m_strUrlTemplate.IsEmpty() == 0 || item.m_bLuaScripted != 0 ||
           item.m_nTileScheme == kSchemeEarthHistory; // for which there is a server anyhow
}

/// Notes what is wrong with the definition that was just loaded into the source's record.
void NoteFindings(Source& source, const std::string& path)
{
    source.m_error = source.m_secrets.Mask(ErrorsOfLastDefinition());
    const std::vector<Finding> findings = FindingsOfLoaded(*source.m_item, path, source.m_secrets);
    for (const Finding& finding : findings)
        source.m_findings.push_back(AsLine(finding));
    const bool isScriptBroken =
        source.m_item->m_bLuaScripted != 0 &&
        std::any_of(findings.begin(), findings.end(), [](const Finding& finding) {
            return finding.m_error && finding.m_key == "script";
        });
    if (source.m_error.empty() && isScriptBroken)
        source.m_error = "its script does not load, so there is nothing to ask for";
    else if (source.m_error.empty() && !NamesAService(*source.m_item))
        source.m_error = "it names no address and no script, so there is nothing to ask for";
    source.m_errorIsFound = !source.m_error.empty();
    source.m_isUsable = source.m_error.empty();
}

std::shared_ptr<KxC::KxTSDParamItem> LoadRecord(const std::string& path)
{
    auto item = std::make_shared<KxC::KxTSDParamItem>();
    item->LoadFromTSDFile(path.c_str());
    return item;
}

void LoadDefinition(Source& source, const SourceArgument& argument)
{
    const std::string path = argument.GetPath();
    source.m_secrets = Secrets(path);
    source.m_item = LoadRecord(path);
    source.m_outputName = NameOfDefinition(*source.m_item, path);
    if (source.m_item->m_bLuaScripted != 0) {
        // Scripts are read beside the record: of one that is written meanwhile, nobody knows which
        // state was loaded.
        source.m_item = LoadRecord(path);
        if (NameOfDefinition(*source.m_item, path) != source.m_outputName)
            source.m_outputName.clear();
    }
    NoteFindings(source, path);
    NameSourceTiles(*source.m_item, source.m_outputName);
}

void LoadTemplate(Source& source, const SourceArgument& argument)
{
    // The registry owns it.
    source.m_item = {std::shared_ptr<void>(), argument.Load(SourceUse::Describe)};
    source.m_isUsable = true;
    source.m_outputName = source.m_item->m_strHashKey.Cstr();
}

void RefuseWhatIsNotEnabled(Source& source)
{
    if (!source.m_isUsable || source.m_item->m_bOption3 != 0)
        return;
    source.m_isForbidden = true;
    source.m_isUsable = false;
    source.m_error = fmt::format(
        "not enabled, so nothing is fetched from this service ({}); if you have the right to use "
        "it so, write enabled = true into a copy of the definition, and serve the copy",
        source.m_item->m_strAttr3.IsEmpty() != 0 ? "the definition names no terms"
                                                 : source.m_item->m_strAttr3.Cstr());
    source.m_error = source.m_secrets.Mask(source.m_error);
}

void LoadService(Source& source, const SourceArgument& argument)
{
    if (argument.IsTemplate())
        LoadTemplate(source, argument);
    else
        LoadDefinition(source, argument);
    // First, so that one that is not served chooses no server for the others.
    RefuseWhatIsNotEnabled(source);
    DescribeService(source);
}

/// A text that names a file by its own name: whoever may see the sources need not know the folders.
std::string WithoutFolder(std::string text, const std::string& path)
{
    const std::string name = std::filesystem::path(path).filename().string();
    for (std::size_t at = text.find(path); at != std::string::npos;
         at = text.find(path, at + name.size()))
        text.replace(at, path.size(), name);
    return text;
}

void OpenRaster(Source& source)
{
    source.m_kind = Source::Kind::Raster;
    const std::string name = NameOfRaster(source.m_path);
    KxC::KxRasterDataAccessor* raster = nullptr;
    try {
        raster = &OpenRasterFile(source.m_path);
    } catch (const CommandError& error) {
        source.m_error = WithoutFolder(error.what(), source.m_path);
        return;
    }
    source.m_isUsable = true;
    source.m_isPack = raster->GetGeoReferenceType() == KxC::KxEGeoReferenceType_WebMercatorTiles;
    if (NameOfRaster(source.m_path) == name)
        source.m_outputName = name;
    source.m_minLevel = std::clamp(raster->GetMinLevel(), 0, kMaxLevel);
    source.m_maxLevel = std::clamp(raster->GetMaxLevel(), source.m_minLevel, kMaxLevel);
    const KxC::KxRect2d& bounds = raster->GetLatLonBounds();
    source.m_bounds = {std::clamp(bounds.m_dLeft, -180.0, 180.0),
                       std::clamp(bounds.m_dTop, -Source::kLastLatitude, Source::kLastLatitude),
                       std::clamp(bounds.m_dRight, -180.0, 180.0),
                       std::clamp(bounds.m_dBottom, -Source::kLastLatitude, Source::kLastLatitude)};
}

/// What is no definition by its name may have been meant as a raster.
void NameBothReadings(Source& source)
{
    const std::string file = FileOf(source.m_path);
    const std::string extension = LowerExtension(file);
    if (source.m_kind == Source::Kind::Raster || extension.empty() || IsDefinitionPath(file) ||
        !fs::is_regular_file(file))
        return;
    source.m_error = fmt::format("no reader plug-in takes {} as a raster (see KXTILE_PLUGIN_PATH), "
                                 "and as a definition it does not load: {}",
                                 extension,
                                 source.m_error);
    source.m_errorIsFound = false;
    source.m_findings.clear();
}

} // namespace

bool IsRasterPath(const std::string& path)
{
    const std::unique_ptr<KxC::KxPlugin> reader(KxC::m_gPluginManager.FindPluginByExt(
        kRasterPlugin, fs::path(path).extension().string().c_str()));
    return reader != nullptr;
}

bool IsTakenForRaster(const std::string& path)
{
    const std::string file = FileOf(path);
    return !SourceArgument(path).IsTemplate() && fs::path(file).has_extension() &&
           !IsDefinitionPath(file) && IsRasterPath(file);
}

bool IsDefinitionPath(const std::string& path)
{
    constexpr std::array<std::string_view, 6> kExtensions{
        ".toml", ".json", ".xml", ".yaml", ".yml", ".tsd"};
    const std::string extension = LowerExtension(path);
    return std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

unsigned NextGeneration()
{
    static std::atomic<unsigned> last{0};
    return ++last;
}

void DescribeService(Source& source)
{
    const KxC::KxTSDParamItem& item = *source.m_item;
    if (item.m_strAttr1.IsEmpty() == 0)
        source.m_name = source.m_secrets.Mask(item.m_strAttr1.Cstr());
    source.m_attribution = source.m_secrets.Mask(item.m_strAttr2.Cstr());
    source.m_terms = source.m_secrets.Mask(item.m_strAttr3.Cstr());
    if (HasMaxLevel(item)) {
        source.m_minLevel = std::clamp(item.m_levelBounds.m_nMinLevel, 0, kMaxLevel);
        source.m_maxLevel =
            std::clamp(item.m_levelBounds.m_nMaxLevel, source.m_minLevel, kMaxLevel);
    }
    if (HasBounds(item))
        source.m_bounds = item.m_levelBounds.m_rect;
    source.m_format = source.HandsOutOwnTiles(kTileSize) ? FormatNamed(item) : FormatMade(item);
    if (item.m_nTileScheme != kSchemeEarthHistory)
        return;
    source.m_kind = Source::Kind::History;
    if (source.m_isUsable)
        ChooseEarthServer(source);
}

std::shared_ptr<Source> LoadSource(const std::string& path, const std::string& id)
{
    auto source = std::make_shared<Source>();
    source->m_id = id;
    const SourceArgument argument(path);
    // Addresses may hold keys: of them the host alone is told.
    if (argument.IsTemplate())
        source->m_secrets = Secrets::OfAddress(path, HostOf(path));
    else
        source->m_path = path;
    source->m_name = argument.IsTemplate() ? HostOf(path) : argument.GetName();
    source->m_generation = NextGeneration();
    try {
        if (IsTakenForRaster(path))
            OpenRaster(*source);
        else
            LoadService(*source, argument);
        if (!source->m_error.empty())
            NameBothReadings(*source);
    } catch (const std::exception& error) {
        source->m_error = source->m_secrets.Mask(error.what());
        source->m_errorIsFound = false;
        source->m_isUsable = false;
    }
    return source;
}

} // namespace KxTileHost::Serve
