// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

namespace KxC {

/// What a raster's file says of itself, for people and for programs that choose by it.
struct KxRasterDescription
{
    KxString m_strCrsName;      ///< "WGS 84 / UTM zone 33N"; empty where it has none
    int m_nEpsg = 0;            ///< EPSG code of that coordinate system; 0 where it has none
    bool m_bCrsAssumed = false; ///< the file names none: this one fits its numbers
    int m_nWidth = 0;           ///< pixels; 0 of what has no one size, as packs of tiles
    int m_nHeight = 0;          ///< pixels; 0 likewise
    int m_nBands = 0;           ///< 0 where it does not tell
    KxString m_strBandType;     ///< of a band's numbers: "Byte", "UInt16", "Float32" ...; with a
                                ///< blank between them where bands differ
    /// Whether it lies across the antimeridian, so that bounds with a west below the east have to
    /// go round the earth.
    bool m_bAcrossAntimeridian = false;
    double m_dWest = 0.0; ///< degrees, [-180, 180]; only where it lies across: greater than m_dEast
    double m_dEast = 0.0; ///< degrees, [-180, 180]; only where it lies across
};

/// What accessors are too that can describe their file: ask a KxRasterDataAccessor by dynamic_cast.
/// The order of the virtual operations is part of the plug-in ABI.
class KXCOMMON_API KxRasterDescriber
{
public:
    KxRasterDescriber(const KxRasterDescriber&) = delete;
    KxRasterDescriber& operator=(const KxRasterDescriber&) = delete;

    /// Fills what is known. Nothing is before the accessor's Open succeeded, and little where
    /// memory runs out. Must not throw. Any thread.
    virtual void Describe(KxRasterDescription& description) const = 0;

protected:
    KxRasterDescriber();
    virtual ~KxRasterDescriber();
};

} // namespace KxC
