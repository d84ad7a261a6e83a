// SPDX-License-Identifier: MIT
#include "TileOrigin.h"

#include "FetchedTile.h"
#include "KxFile.h"
#include "KxPlugin.h"
#include "KxTileFetcher.h"
#include "KxUtility.h"
#include "Outlook.h"
#include "RasterArgument.h"
#include "SourceGrid.h"

#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace KxTileHost {

namespace {

constexpr int kRasterTileSize = 256;
constexpr char kReaderHint[] =
    "Rasters are read by plug-ins, in the folders of KXTILE_PLUGIN_PATH or the installed ones.";

bool HasReader(const std::string& path)
{
    const std::unique_ptr<KxC::KxPlugin> reader(
        KxC::m_gPluginManager.FindPluginByExt("AccessorPlugin", KxC::KxFile::GetExt(path.c_str())));
    return reader != nullptr;
}

/// Definitions are texts.
bool IsBinary(const std::string& path)
{
    std::array<char, 1024> start{};
    std::ifstream file(path, std::ios::binary);
    file.read(start.data(), start.size());
    const std::string_view read(start.data(), static_cast<std::size_t>(file.gcount()));
    return read.find('\0') != std::string_view::npos;
}

/// Whether a text names a raster rather than a source.
bool NamesRaster(const std::string& text)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(text, error) ||
        KxC::KxFile::GetExt(text.c_str()) == ".toml")
        return false;
    if (HasReader(text))
        return true;
    if (IsBinary(text))
        throw CommandError(
            kExitFailed, fmt::format("no reader takes the raster '{}'", text), kReaderHint);
    return false;
}

/// What the thread's last failure was, to be put behind the words that say what failed.
std::string ReaderSays()
{
    const KxC::KxString& why = KxC::KxRasterDataAccessor::GetThreadError();
    return why.IsEmpty() != 0 ? "" : fmt::format(": {}", why.Cstr());
}

std::string AbsolutePath(const std::string& path)
{
    return std::filesystem::absolute(path).lexically_normal().string();
}

} // namespace

TileOrigin::TileOrigin(const SourceArgument& argument, int tileSize, const GlobalOptions& options)
    : m_tileSize(tileSize > 0 ? tileSize : kRasterTileSize), m_timeoutMs(options.TimeoutMs()),
      m_useDiskCache(!options.m_noDiskCache),
      m_secrets(argument.IsTemplate() ? Secrets::InAddress(argument.GetText())
                                      : argument.GetSecrets())
{
    if (NamesRaster(argument.GetText())) {
        m_rasterPath = AbsolutePath(argument.GetText());
        m_raster = &OpenRasterFile(m_rasterPath);
        m_name = std::filesystem::path(m_rasterPath).filename().string();
        return;
    }
    m_source = argument.Load();
    m_name = m_secrets.Mask(argument.GetName());
    if (tileSize <= 0)
        m_tileSize = m_source->m_nTileSize;
}

std::string TileOrigin::GetKey() const
{
    const KxC::KxString key = m_source != nullptr
                                  ? m_source->m_strHashKey
                                  : KxC::KxUtility::GetValidHashKey(m_rasterPath.c_str());
    return key.Cstr();
}

bool TileOrigin::HasOwnTileSize() const
{
    return m_tileSize == (m_source != nullptr ? m_source->m_nTileSize : kRasterTileSize);
}

bool TileOrigin::HandsOutOwnTiles() const
{
    return m_source != nullptr && IsStandardTiling(m_source->m_nTileScheme, m_source->m_nDatum) &&
           HasOwnTileSize();
}

std::string TileOrigin::Describe() const
{
    const std::string format = m_source != nullptr ? m_source->m_strImageFormat.Cstr() : "";
    return fmt::format("{}, {} pixels{}", m_name, m_tileSize, format.empty() ? "" : ", " + format);
}

TileBytes TileOrigin::Fetch(const HostTile& tile) const
{
    return m_source != nullptr ? FetchFromSource(tile) : CutFromRaster(tile);
}

TileBytes TileOrigin::FetchFromSource(const HostTile& tile) const
try {
    FetchedTile fetched = HandsOutOwnTiles()
                              ? FetchTileOf(*m_source, tile, m_useDiskCache, m_timeoutMs)
                              : FetchAlignedTile(*m_source, tile, {m_tileSize, false, m_timeoutMs});
    return {TileOutcome::Made, std::move(fetched.m_bytes), {}};
} catch (const CommandError& error) {
    if (error.m_exitCode == kExitNoTile)
        return {TileOutcome::Hole, nullptr, {}};
    return {TileOutcome::Failed, nullptr, m_secrets.Mask(error.what()), OutlookOfLastRequest()};
}

TileBytes TileOrigin::CutFromRaster(const HostTile& tile) const
{
    // A tile of which a part cannot be read is no hole, and no tile either.
    const auto failuresBefore = KxC::KxRasterDataAccessor::GetThreadReadFailures();
    KxC::KxRawData* bytes = nullptr;
    const unsigned char done = KxC::KxTileFetcher::FetchTileFromRaster(
        bytes, m_rasterPath.c_str(), tile.m_x, tile.m_y, tile.m_z, m_tileSize);
    std::unique_ptr<KxC::KxRawData> owned(bytes);
    if (KxC::KxRasterDataAccessor::GetThreadReadFailures() != failuresBefore)
        return {TileOutcome::Failed, nullptr, "the raster's tile cannot be read" + ReaderSays()};
    if (done == 0)
        return {TileOutcome::Failed, nullptr, "the raster's tile cannot be read"};
    if (owned == nullptr || owned->GetSize() == 0)
        return {TileOutcome::Hole, nullptr, {}};
    return {TileOutcome::Made, std::move(owned), {}};
}

} // namespace KxTileHost
