// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxImageData.h"
#include "KxPlugin.h"
#include "KxRect2d.h"
#include "KxString.h"

namespace KxC {

/// Forms that a coordinate system is written in; the numbers of ProjectStringType.
enum KxECrsForm : int {
    KxECrsForm_Wkt = 0,       ///< WKT of any dialect
    KxECrsForm_Proj = 1,      ///< PROJ string
    KxECrsForm_Epsg = 2,      ///< "4326" or "EPSG:4326"
    KxECrsForm_EsriPrj = 3,   ///< text of an ESRI .prj file
    KxECrsForm_Authority = 4, ///< "AUTHORITY:CODE"
    KxECrsForm_PrjFile = 5,   ///< path of a .prj file
};

/// Writes one raster file with its georeference; what plug-ins of the kind "RasterWriterPlugin"
/// make, found by the extension of the file that is to be written (".tif").
/// Create comes first, then any number of blocks in any order, then Finish. Memory stays bounded
/// whatever the size of the raster: what is written waits in a temporary file beside the one that
/// is wanted, so its folder needs room for both. The file appears under its name when Finish
/// succeeds, and only then; an older file of the name stays until that moment. Whatever ends the
/// work before, be it the destructor, leaves no temporary file behind.
/// The order of the virtual operations is part of the plug-in ABI. No operation may throw.
/// Threads: one object serves one thread at a time; separate objects are independent.
class KXCOMMON_API KxRasterWriter : public KxPlugin
{
public:
    /// Hears how much of Finish is done, and says whether to go on.
    /// @param share  [0, 1]
    /// @return 0 to give up
    using Progress = unsigned char (*)(double share, void* user);

    ~KxRasterWriter() override;

    /// Begins a raster; whatever was begun before is given up.
    /// @param path           of the file to be; its folder exists
    /// @param width, height  pixels, each [1, 2147483647], 2^40 in all at most
    /// @param bytesPerPixel  3: R, G, B; pixels that no block covers are black.
    ///                       4: R, G, B and alpha, not premultiplied; they are transparent
    /// @param rect           outer edges of the raster in the coordinate system, x before y:
    /// degrees
    ///                       of longitude and latitude, or the projection's units
    /// @param crs            coordinate system, written as `crsForm` says
    /// @param crsForm        KxECrsForm
    /// @return nonzero on success; else GetError says why, and there is nothing to write to
    virtual unsigned char Create(const KxString& path,
                                 int width,
                                 int height,
                                 int bytesPerPixel,
                                 const KxRect2d& rect,
                                 const char* crs,
                                 int crsForm) = 0;

    /// Writes a picture into the raster; of what overlaps, the last written stays. Blocks that
    /// cover whole squares of 256 pixels, counted from the north-west corner, are the fastest.
    /// @param xFromWest   column of the block's west edge, counted from the raster's west edge
    /// @param yFromNorth  row of the block's north edge, counted from the raster's north edge
    /// @param block       its row 0 is its south edge; 3 or 4 bytes a pixel, whichever the raster
    ///                    has: a missing alpha is opaque, a surplus one is dropped. What lies
    ///                    outside the raster is cut off
    /// @return nonzero on success; else GetError says why, and Finish will fail
    virtual unsigned char WriteBlock(int xFromWest, int yFromNorth, const KxImageData& block) = 0;

    /// Makes the file: a Cloud Optimized GeoTIFF, in tiles, with overviews.
    /// @param progress  may be null
    /// @param user      handed to `progress` as it is
    /// @return nonzero when the file is there, whole; else GetError says why, and nothing is left
    virtual unsigned char Finish(Progress progress, void* user) = 0;

    /// Gives up what was begun and removes its temporary files.
    virtual void Cancel() = 0;

    /// The text of a .prj file for a coordinate system, without a line end.
    /// @return empty when it was not understood or has no such text; GetError then says why
    virtual KxString GetEsriPrj(const char* crs, int crsForm) = 0;

    /// Why the last operation that can fail did, in words for whoever asked for the file; empty
    /// when it did not.
    const KxString& GetError() const;

protected:
    KxRasterWriter();

    KxString m_strError;
};

} // namespace KxC
