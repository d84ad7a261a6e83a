// SPDX-License-Identifier: MIT
#pragma once

#include "KxCoordSysTrans.h"
#include "KxNetGetch.h"
#include "KxRasterAccessorManager.h"
#include "KxRawData.h"
#include "KxRawDataTypeCache.h"
#include "KxRect2d.h"
#include "KxString.h"
#include "KxTSDParam.h"
#include "KxTileExport.h"
#include "KxWMTileDataCache.h"

namespace KxC {

/// The tile operations. All of them may be called from any thread at once; they work on the
/// caller's thread. Inside the library rows count from the south (row 0 at the bottom); where an
/// operation counts them otherwise, it says so. Levels are [0, 30].
class KXTILE_API KxTileFetcher
{
public:
    /// Nonzero (the start): tiles are kept in memory, and the memory cache owns them. A host may
    /// write it at any time.
    static unsigned char m_sbMemCacheUsed;
    /// Nonzero: tile bytes are kept on disk between runs. 0 at the start. A host may write it at
    /// any time.
    static unsigned char m_sbLocalCacheUsed;

    /// @name URLs and quadkeys
    /// @{

    /// The download URL of a tile, in the service's own convention.
    /// @param source  null gives an empty URL
    /// @param z, y, x  level, row from the south, column
    static KxString GetURL(KxTSDParamItem* source, int z, int y, int x);

    /// Bing Maps quadkey; rows count from the north here. Empty for z <= 0 and
    /// beyond 2^20.
    static KxString BingMapTileToQuadKey(int y, int x, int z);
    /// The tile of a quadkey, its level being the key's length. Other digits than 0 to 3 count as
    /// 0; of a key longer than 31 digits the bits beyond the numbers' 32 are lost.
    static void BingMapQuadKeyToTile(const KxString& quadKey, int& y, int& x, int& z);

    /// First Web Mercator level whose 256-pixel tiles are not coarser than a resolution:
    /// ceil(log2(156543.03392804097 / resolution)).
    /// @param resolution  metres a pixel at the equator, above 0
    static int CalcTSZLevel(double resolution);

    /// @}
    /// @name Grid arithmetic
    /// Fractional tile coordinates: the whole part is the tile, the fraction the position inside it
    /// from its west and south edges. Columns grow to the east, rows to the north. A negative
    /// result lies outside the grid.
    /// @{

    /// Web Mercator grid: n x n tiles, n = 2^level, from the sphere's south-west corner. At and
    /// beyond the poles the row is -1.
    /// @param longitude, latitude  radians, WGS 84
    /// @param deviationType        KxDatum of the grid
    static void GetWMColRow(double& column,
                            double& row,
                            double longitude,
                            double latitude,
                            int level,
                            int deviationType);
    /// Baidu grid: tiles of 256 pixels from the Baidu plane's origin, one plane unit a pixel at
    /// level 18. Where the plane is not defined both results are -1.
    /// @param longitude, latitude  radians, WGS 84
    /// @param deviationType        KxDatum of the grid
    static void GetBaiDuMapColRow(double& column,
                                  double& row,
                                  double longitude,
                                  double latitude,
                                  int level,
                                  int deviationType);
    /// The grid of a tile source: Web Mercator for the schemes 3, 6 and 10, Baidu's for 4 and 13,
    /// for all others the geographic square from -180 to 180 degrees on both axes, without
    /// deviation.
    /// @param scheme         KxTSDParamItem::m_nTileScheme
    /// @param x, y           Web Mercator metres
    /// @param deviationType  KxTSDParamItem::m_nDatum
    static void GetColRow(
        double& column, double& row, int scheme, double x, double y, int level, int deviationType);

    /// The geographic square's place of a point of another coordinate system. A transform that
    /// does not convert gives the place of longitude 0, latitude 0; null gives -1 for both.
    /// @param x, y  in the transform's source system
    static void GetLLColRow2(
        double& column, double& row, KxCoordSysTrans* transform, double x, double y, int level);

    /// @}
    /// @name Single tiles of the source's own grid
    /// @{

    /// A decoded tile from the memory cache, the disk cache or the service.
    /// @param tile  receives the tile; null on failure and where the definition is empty. With
    ///              m_sbMemCacheUsed the cache owns it and it stays valid until this thread's next
    ///              call into the library; without, the caller deletes it.
    /// @param requestParam  total time-out in milliseconds, 0 for the default
    /// @return 0 (a tile, its image null where the server has none), 6 failure, 7 known on disk
    ///         that the server has no tile. A null source answers 6 and leaves `tile` as it is.
    static NetError FetchWMData(KxWMImageTileData*& tile,
                                KxTSDParamItem* source,
                                int level,
                                int row,
                                int col,
                                int requestParam);

    /// The same without asking the memory cache first.
    static NetError DownLoadWMData(KxWMImageTileData*& tile,
                                   KxTSDParamItem* source,
                                   int level,
                                   int row,
                                   int col,
                                   int requestParam);

    /// @}
    /// @name Disk cache
    /// @{

    /// @param hashKey  KxTSDParamItem::m_strHashKey
    /// @param out      receives the bytes on result 5, else it is left as it is
    /// @return 5 bytes, 4 the server is known to have none, else nothing is known
    static GetchResult
    LoadFromLocalCache(const KxString& hashKey, int level, int row, int col, KxRawData& out);
    /// Stores a copy of the bytes. Failure is silent.
    static void SaveToLocalCache(const KxString& hashKey,
                                 int level,
                                 int row,
                                 int col,
                                 unsigned char* bytes,
                                 unsigned int size);
    /// Records that the server has no tile there. Failure is silent.
    static void SaveNoDataInfoToLocalCache(const KxString& hashKey, int level, int row, int col);

    /// @}
    /// @name Encoded tiles
    /// @{
    /// One tile of the standard Web Mercator tiling, made from whatever the source delivers: column
    /// x, row y counted from the north, level z, `tileSize` pixels a side.
    ///
    /// All answer 1 when the call completed: `out` then holds the encoded tile, owned by the
    /// caller, is null where there is nothing to draw, or has no bytes where a direct download
    /// brought none. 0 is failure, with `out` null; a null source answers 0 and leaves `out` as it
    /// is. Levels outside [0, 30] and tile sizes outside [1, 8192] have no tile to make, and of
    /// more than KxImageData::kMaxPixels pixels (a side beyond 8000) none can be made.

    /// The tile of a source, in the way that suits it: FetchWMTile4 where the service's own tiles
    /// are the wanted ones (WGS 84; schemes 3, 6 and 10), FetchWMTile5 on a shifted datum (schemes
    /// 3, 6, 10 and 11), both for the source's own tile size; else FetchWMTile3.
    /// @param requestParam  total time-out of each request in milliseconds, 0 for the default
    static unsigned char FetchWMTileByParam(KxRawData*& out,
                                            KxTSDParamItem* source,
                                            int x,
                                            int y,
                                            int z,
                                            int tileSize,
                                            int requestParam);
    /// The same for a source by its definition file; see KxTSDParamManager::GetTSDParam.
    static unsigned char FetchWMTile2(
        KxRawData*& out, const KxString& key, int x, int y, int z, int tileSize, int requestParam);
    /// The same for a source by its parameters; see KxTSDParamItem::LoadFromParam.
    static unsigned char FetchWMTile(KxRawData*& out,
                                     const KxString& urlTemplate,
                                     const KxString& serverParts,
                                     int x,
                                     int y,
                                     int z,
                                     int scheme,
                                     int datum,
                                     int southToNorth,
                                     int levelOffset,
                                     int sourceTileSize,
                                     int tileSize,
                                     const KxString& imageFormat,
                                     int requestParam);
    /// History imagery of a day, re-gridded as by FetchWMTile3.
    static unsigned char FetchGEHistoryTile(KxRawData*& out,
                                            const KxString& urlTemplate,
                                            const KxTime& date,
                                            int x,
                                            int y,
                                            int z,
                                            int tileSize,
                                            int requestParam);

    /// Samples the tile from the source's tiles, whatever their grid, datum and size. Where
    /// `tileSize` exceeds the source's, it takes tiles of the level that fits better.
    /// PNG where a source tile has an alpha channel and the source's format text is empty or ends
    /// in "png", else JPEG. Places without a source tile stay black, or transparent.
    /// Fails when one source tile fails, when the source's level would be beyond 30, and when it
    /// would take more than 16900 source tiles or 1 GiB of their pixels.
    static unsigned char FetchWMTile3(KxRawData*& out,
                                      KxTSDParamItem* source,
                                      int x,
                                      int y,
                                      int z,
                                      int tileSize,
                                      int requestParam);

    /// Joins the tile from blocks of up to four tiles of a source on a shifted datum. Formats and
    /// failures as FetchWMTile3.
    /// @param tileSize  the source's own: the tile has that size
    static unsigned char FetchWMTile5(KxRawData*& out,
                                      KxTSDParamItem* source,
                                      int x,
                                      int y,
                                      int z,
                                      int tileSize,
                                      int requestParam);

    /// Downloads the service's tile as it is, past both caches. The row is the service's own:
    /// it is not turned for services that count from the north.
    /// @param out       receives the bytes, owned by the caller; without bytes where the service
    ///                  delivered none; null on failure
    /// @param tileSize  without effect
    /// @return 0 when the request failed, or brought something that is no whole picture. A null
    ///         source answers 0 and leaves `out` as it is.
    static unsigned char FetchWMTile4(KxRawData*& out,
                                      KxTSDParamItem* source,
                                      int x,
                                      int y,
                                      int z,
                                      int tileSize,
                                      int requestParam);

    /// @}
    /// @name Tiles of local rasters
    /// @{

    /// One tile of the standard Web Mercator tiling, cut from a raster file: column x, row y
    /// counted from the north. A raster that is stored as such tiles hands out its own bytes; any
    /// other is sampled, PNG with transparency where the raster has gaps or alpha, else JPEG.
    /// @param tile      receives the tile, owned by the caller; null where the raster has nothing
    /// @param dataPath  the raster; a reader plug-in must take its extension
    /// @param tileSize  pixels, [1, 8192]; above 256 it is sampled from a deeper level
    /// @return 0 when the raster cannot be opened or its stored tile cannot be read
    static unsigned char FetchTileFromRaster(
        KxRawData*& tile, const KxString& dataPath, int x, int y, int z, int tileSize);

    /// A decoded tile of a raster's own grid, from the memory cache or from the reader.
    /// @param tile  receives the tile; the memory cache owns it, and it stays valid until this
    ///              thread's next call into the library
    /// @param column, row, level  in the geographic square grid, rows from the south
    /// @return 1 when there is a tile with a picture
    static unsigned char FetchRasterData(KxWMImageTileData*& tile,
                                         KxRasterDataAccessor* accessor,
                                         const KxString& dataPath,
                                         int column,
                                         int row,
                                         int level);

    /// @}
    /// @name Tile files
    /// Each leaves a tile as <cache root>/<source>/<z>/<y>/<x> with its format's extension, and a
    /// world file beside it. A file that is there already is taken as it is; a new one appears
    /// under its name only when whole.
    /// All answer 1 with the file's path, or 0 with an empty one. x, y, z as for FetchWMTile.
    /// @{

    /// Of a source by its parameters. The folder must exist.
    /// @param imageFormat  extension to write under, without dot, whatever the tile is; empty: its
    ///                     own. One that would leave the folder ("/", "..") fails.
    static unsigned char FetchWMTileFile(KxString& path,
                                         const KxString& urlTemplate,
                                         const KxString& serverParts,
                                         int x,
                                         int y,
                                         int z,
                                         int scheme,
                                         int datum,
                                         int southToNorth,
                                         int levelOffset,
                                         int sourceTileSize,
                                         int tileSize,
                                         const KxString& imageFormat,
                                         int requestParam);
    /// Of a source by its definition file. Makes the folder where it is missing.
    static unsigned char FetchWMTileFile2(
        KxString& path, const KxString& key, int x, int y, int z, int tileSize, int requestParam);
    /// Of history imagery, always named .jpeg. The folder must exist.
    static unsigned char FetchGEHistoryTileFile(KxString& path,
                                                const KxString& urlTemplate,
                                                const KxTime& date,
                                                int x,
                                                int y,
                                                int z,
                                                int tileSize,
                                                int requestParam);
    /// Of a raster file. The folder must exist. Without `imageFormat` a sampled tile's name has two
    /// dots before its extension, and is not found again by the next call.
    static unsigned char FetchTileFileFromRaster(KxString& path,
                                                 const KxString& imageFormat,
                                                 const KxString& dataPath,
                                                 int x,
                                                 int y,
                                                 int z,
                                                 int tileSize);

    /// Writes the six lines of a tile's world file: pixel width, 0, 0, negative pixel height (both
    /// rounded to single precision), west and north edge, in Web Mercator metres. Nothing is
    /// reported when it cannot be written.
    /// @param tileSize  pixels
    static void WriteWorldFile(const KxString& worldFilePath, int x, int y, int z, int tileSize);
    /// Extension, without dot, of the world file beside a picture; empty for other pictures.
    /// @param imageExt  with its dot, in any case: ".jpeg", ".jpg" and ".png8" give "jgw", ".png"
    ///                  "pgw", ".tif" "tfw"
    static KxString ImgExt2WorldFileExt(const KxString& imageExt);

    /// @}
    /// @name Mosaics
    /// @{

    /// Writes one picture over an extent of any coordinate system, sampled from a raster file at
    /// the level that suits the resolution. No world file.
    /// @param outputFile  ".png", ".jpg", ".tif" or ".webp"; appears under its name only when whole
    /// @param dataPath    the raster; a reader plug-in must take its extension
    /// @param rect        extent, in units of the coordinate system
    /// @param resolution  those units a pixel; taken as metres when the raster's level is chosen,
    ///                    which must be one that the raster has
    /// @param projString  the coordinate system, in the form that `projType` says. One that cannot
    ///                    be understood gives every point the place of longitude 0, latitude 0:
    ///                    KxCoordSysTrans::GetError tells
    /// @return 1 when the picture was written, and also, without a file, where the raster has
    ///         nothing under the extent. 0 on failure; a line in the log says which where the
    ///         extent holds no pixel, the raster cannot be opened, or the picture exceeds
    ///         KxImageData::kMaxBytes; no line where the raster has no such level, does not reach
    ///         under the extent, or the picture cannot be written.
    /// The first and last columns and rows are sampled at the extent's edges.
    /// Holds the picture and about one row of the raster's tiles in memory; throws std::bad_alloc
    /// where there is none for the picture.
    static unsigned char FetchImage(const KxString& outputFile,
                                    const KxString& dataPath,
                                    const KxRect2d& rect,
                                    double resolution,
                                    const KxString& projString,
                                    ProjectStringType projType);

    /// The same of pixels that divide the extent evenly, each sampled in its middle, as GIS
    /// programs have them.
    /// @param width, height  pixels
    /// @param level          of the raster's tiles, one that it has; see CalcTSZLevel
    static unsigned char FetchImageOfPixels(const KxString& outputFile,
                                            const KxString& dataPath,
                                            const KxRect2d& rect,
                                            int width,
                                            int height,
                                            int level,
                                            const KxString& projString,
                                            ProjectStringType projType);

    /// @}
};

} // namespace KxC
