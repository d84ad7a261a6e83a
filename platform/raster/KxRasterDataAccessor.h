// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxImageData.h"
#include "KxPlugin.h"
#include "KxPoint.h"
#include "KxRect2d.h"
#include "KxString.h"

namespace KxC {

/// How the pixels of a raster lie on the earth.
enum KxEGeoReferenceType : int {
    KxEGeoReferenceType_None = 0,             ///< not known
    KxEGeoReferenceType_Geographic = 1,       ///< degrees
    KxEGeoReferenceType_Projected = 2,        ///< a projection's units
    KxEGeoReferenceType_WebMercatorTiles = 3, ///< stored as tiles of the Web Mercator grid
};

/// Reads one raster file and converts points of one coordinate system; what plug-ins of the kind
/// "AccessorPlugin" make. Each raster is offered as tiles of the geographic square grid, 256
/// pixels a side, rows counted from the south.
/// The order of the virtual operations is part of the plug-in ABI. No operation may throw.
/// Threads: Open and the setters come first, from one thread; after them every other operation may
/// be called by several threads at once.
class KXCOMMON_API KxRasterDataAccessor : public KxPlugin
{
public:
    ~KxRasterDataAccessor() override;

    /// First and last level of the accessor's own tile grid.
    virtual int GetMinLevel() = 0;
    virtual int GetMaxLevel() = 0;

    /// @name The coordinate system of the conversions below, in one of six forms
    /// @return nonzero when it was understood; otherwise the previous one stays
    /// @{
    virtual unsigned char SetProj4(const KxString& text) = 0;   ///< PROJ string
    virtual unsigned char SetEsriPrj(const char* text) = 0;     ///< text of an ESRI .prj file
    virtual unsigned char SetEPSG(const char* code) = 0;        ///< "4326" or "EPSG:4326"
    virtual unsigned char SetWKT(const char* text) = 0;         ///< WKT of any dialect
    virtual unsigned char SetAuthority(const char* text) = 0;   ///< "AUTHORITY:CODE"
    virtual unsigned char SetPrjFile(const KxString& path) = 0; ///< path of a .prj file
    /// @}

    /// From the coordinate system set above to longitude (x) and latitude (y) in degrees, and
    /// back. A point that cannot be converted leaves `out` as it was.
    virtual void SrcPtToWGS84Pt(const KxPoint3d& in, KxPoint3d& out) = 0;
    virtual void WGS84PtToSrcPt(const KxPoint3d& in, KxPoint3d& out) = 0;

    /// Opens the file and fills what the operations below the last virtual one answer.
    /// @return nonzero on success
    virtual unsigned char Open(const KxString& path) = 0;

    /// Decodes a tile of the accessor's grid.
    /// @param image  receives a new picture owned by the caller; null where there is none
    virtual void ReadTileImage(KxImageData*& image, int level, int row, int col) = 0;

    /// The stored bytes of a tile; for KxEGeoReferenceType_WebMercatorTiles only.
    /// @param row    of the Web Mercator grid, counted from the south
    /// @param bytes  receives `malloc` memory owned by the caller; null where there is no tile
    /// @param size   receives the number of bytes
    /// @return 5 on success, also where there is no tile; another value when reading failed
    virtual int
    ReadTileData(int level, int row, int col, unsigned char*& bytes, unsigned int& size) = 0;

    /// Whole rows of points at once: the same as a call for each, without the cost of each call.
    /// What is here converts one by one; accessors that can do better say how. `in` and `out` may
    /// be the same array.
    /// @param count  points in either array; below 1 does nothing
    virtual void SrcPtsToWGS84Pts(const KxPoint3d* in, KxPoint3d* out, int count);
    virtual void WGS84PtsToSrcPts(const KxPoint3d* in, KxPoint3d* out, int count);

    /// @name What readers could not do, on the calling thread, whichever accessor it was
    /// A thread that asks before and after a piece of work learns whether anything of it failed.
    /// @{
    /// How many reads of a tile failed: a damaged file, a disk error, more work than a reader
    /// does for one tile. A place where a raster has nothing is none.
    static unsigned long long GetThreadReadFailures();
    /// Why the last Open or read that failed did, in words for whoever has the file; empty before
    /// the first, and after an Open that went well. Reads that go well leave it be, because one
    /// piece of work makes several. One line of at most 500 bytes. Valid until the thread opens or
    /// reads again.
    static const KxString& GetThreadError();
    /// @}

    /// Why the last of the six setters did not take its text, in words for whoever wrote the text;
    /// empty when it did.
    const KxString& GetProjectionError() const;

    /// The path that Open was given, as it stood; empty before.
    const KxString& GetDataPath() const;
    KxEGeoReferenceType GetGeoReferenceType() const;
    /// The raster's extent in degrees.
    const KxRect2d& GetLatLonBounds() const;

protected:
    KxRasterDataAccessor();

    /// @name What accessors tell of their own operations, for the two queries above
    /// @{
    static void NoteReadFailure(const KxString& why) noexcept; ///< one for each read that failed
    static void NoteOpenFailure(const KxString& why) noexcept; ///< Open answers 0
    static void NoteOpen() noexcept;                           ///< Open went well
    /// @}

    KxString m_strDataPath;
    KxString m_strProjectionError;
    KxEGeoReferenceType m_eGeoReferenceType;
    KxRect2d m_rectLatLon;
};

} // namespace KxC
