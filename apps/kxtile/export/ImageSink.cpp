// SPDX-License-Identifier: MIT
#include "ImageSink.h"

#include "Command.h"
#include "KxFile.h"
#include "KxImgUtility.h"
#include "KxMath.h"

#include <fmt/format.h>

#include <limits>
#include <stdexcept>

namespace KxTileHost {

namespace {

/// The corners of a block of tiles.
struct Block
{
    HostTile m_northWest;
    HostTile m_southEast;

    std::uint64_t Cols() const { return Span(m_northWest.m_x, m_southEast.m_x); }
    std::uint64_t Rows() const { return Span(m_northWest.m_y, m_southEast.m_y); }

private:
    static std::uint64_t Span(int first, int last)
    {
        return first <= last ? static_cast<std::uint64_t>(last - first) + 1 : 0;
    }
};

Block BlockOf(const TileList& tiles)
{
    const Block block{tiles.At(0), tiles.At(tiles.Count() - 1)};
    if (block.Cols() * block.Rows() != tiles.Count())
        throw CommandError(kExitWrongUsage,
                           "a picture cannot go across the antimeridian",
                           "Export the two sides of it by themselves, or write .mbtiles.");
    return block;
}

int PixelsOf(std::uint64_t tiles, int tileSize)
{
    const std::uint64_t pixels = tiles * static_cast<std::uint64_t>(tileSize);
    if (pixels > static_cast<std::uint64_t>(std::numeric_limits<int>::max()))
        throw CommandError(kExitWrongUsage,
                           fmt::format("the picture would have {} pixels on one side", pixels),
                           "Choose a lower level, or smaller bounds.");
    return static_cast<int>(pixels);
}

KxC::KxRect2d RectOf(const Block& block)
{
    KxC::KxRect2d first;
    KxC::KxRect2d last;
    const HostTile& start = block.m_northWest;
    const HostTile& end = block.m_southEast;
    KxC::KxMath::CalcWMTileBounds(first, start.m_z, start.m_y, start.m_x, 0);
    KxC::KxMath::CalcWMTileBounds(last, end.m_z, end.m_y, end.m_x, 0);
    return {first.m_dLeft, first.m_dTop, last.m_dRight, last.m_dBottom};
}

std::unique_ptr<KxC::KxRasterWriter> NewWriter(const std::string& path)
{
    auto* const plugin = static_cast<KxC::KxRasterWriter*>(KxC::m_gPluginManager.FindPluginByExt(
        "RasterWriterPlugin", KxC::KxFile::GetExt(path.c_str())));
    std::unique_ptr<KxC::KxRasterWriter> writer(plugin);
    if (writer == nullptr || writer->Initialize() == 0 || writer->IsAvailable() == 0)
        throw CommandError(kExitFailed,
                           "no plug-in writes GeoTIFF",
                           "KxGdalWriter.so is looked for in the folders of KXTILE_PLUGIN_PATH or "
                           "the installed ones; it needs GDAL.");
    return writer;
}

} // namespace

ImageSink::ImageSink(const std::string& path, const TileList& tiles, int tileSize)
    : m_path(path), m_tileSize(tileSize)
{
    const Block block = BlockOf(tiles);
    m_northWest = block.m_northWest;
    m_writer = NewWriter(path);
    // With alpha, so that tiles that do not exist leave holes.
    if (m_writer->Create(path.c_str(),
                         PixelsOf(block.Cols(), tileSize),
                         PixelsOf(block.Rows(), tileSize),
                         4,
                         RectOf(block),
                         "EPSG:3857",
                         KxC::KxECrsForm_Epsg) == 0)
        ThrowUnwritable(path, m_writer->GetError().Cstr());
}

void ImageSink::Add(const HostTile& tile, const KxC::KxRawData& bytes)
{
    const std::unique_ptr<KxC::KxImageData> image(
        KxC::KxImgUtility::LoadImageData(bytes.GetData(), bytes.GetSize(), "", 0, 0));
    if (image == nullptr)
        throw std::runtime_error("the tile does not decode");
    if (image->GetWidth() != m_tileSize || image->GetHeight() != m_tileSize)
        throw std::runtime_error(fmt::format("the tile has {} x {} pixels instead of {} x {}; "
                                             "--size says how many it has",
                                             image->GetWidth(),
                                             image->GetHeight(),
                                             m_tileSize,
                                             m_tileSize));
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_writer->WriteBlock((tile.m_x - m_northWest.m_x) * m_tileSize,
                             (tile.m_y - m_northWest.m_y) * m_tileSize,
                             *image) != 0)
        return;
    m_hasFailed = true;
    throw std::runtime_error("the file cannot be written");
}

void ImageSink::Finish()
{
    const auto goesOn = [](double /*share*/, void* isAbandoned) -> unsigned char {
        return static_cast<std::atomic<bool>*>(isAbandoned)->load() ? 0 : 1;
    };
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_writer->Finish(goesOn, &m_isAbandoned) == 0)
        ThrowUnwritable(m_path, m_writer->GetError().Cstr());
}

/// Whoever is at the writer ends soon: blocks are small, and Finish is told to give up.
void ImageSink::Abandon() noexcept
{
    m_isAbandoned = true;
    m_mutex.lock(); // for good: the process ends
    m_writer->Cancel();
}

} // namespace KxTileHost
