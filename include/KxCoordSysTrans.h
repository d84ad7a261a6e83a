// SPDX-License-Identifier: MIT
#pragma once

#include "KxMutex.h"
#include "KxPlugin.h"
#include "KxPoint.h"
#include "KxString.h"
#include "KxTileExport.h"

#include <list>
#include <memory>

namespace KxC {

/// How a projection string is to be read. Other values configure nothing.
enum ProjectStringType : int {
    ProjectStringType_WKT = 0,       ///< WKT of any dialect
    ProjectStringType_Proj4 = 1,     ///< PROJ string
    ProjectStringType_EPSG = 2,      ///< "4326" or "EPSG:4326"
    ProjectStringType_EsriPrj = 3,   ///< text of an ESRI .prj file
    ProjectStringType_Authority = 4, ///< "AUTHORITY:CODE"
    ProjectStringType_PrjFile = 5,   ///< path of a .prj file
};

/// Converts points between a coordinate system and WGS 84. The mathematics are a plug-in's: the
/// one of kind "AccessorPlugin" that takes ".shp". Without it, or where it does not understand the
/// projection string, a transform converts nothing.
/// Axes are always in the order longitude, latitude or easting, northing; degrees on the side of
/// WGS 84.
/// Threads: after Init every operation may be called by several threads at once.
class KXTILE_API KxCoordSysTrans
{
public:
    KxCoordSysTrans();
    /// Copies are shallow: both objects hold one and the same projection object, and each of them
    /// destroys it. Whoever copies must see to it that only one is destroyed with it; Init gives a
    /// copy an object of its own.
    KxCoordSysTrans(const KxCoordSysTrans& other);
    KxCoordSysTrans& operator=(const KxCoordSysTrans& other);
    ~KxCoordSysTrans();

    /// Obtains a projection object and configures it. Without a plug-in everything stays as it was;
    /// with one whose object is not usable, the string and the type are taken and the object stays.
    /// An object that was there before is let go of but not destroyed: a copy may hold it.
    void Init(const KxString& projection, ProjectStringType type);

    /// To longitude (x) and latitude (y), degrees, and back. A point that cannot be converted
    /// leaves `out` as it was.
    void SrcPtToWGS84Pt(const KxPoint3d& in, KxPoint3d& out) const;
    void WGS84PtToSrcPt(const KxPoint3d& in, KxPoint3d& out) const;

    /// The same for arrays, which costs less than a call for each point. `in` and `out` may be the
    /// same array.
    /// @param count  points in either array; below 1 does nothing
    void SrcPtsToWGS84Pts(const KxPoint3d* in, KxPoint3d* out, int count) const;
    void WGS84PtsToSrcPts(const KxPoint3d* in, KxPoint3d* out, int count) const;

    /// Why the transform converts nothing, in words; empty when it can convert.
    KxString GetError() const;

private:
    friend class KxCoordSysTransManager;

    KxString m_strProjection;
    ProjectStringType m_eType; ///< not set before Init
    KxPlugin* m_pProjection;   ///< owned; null when none could be obtained
};

/// Owns the transforms of the process, one for each projection string (without regard to case) and
/// type. Transforms live until the registry is destroyed, so that the pointers it hands out stay
/// valid. Any thread.
class KXTILE_API KxCoordSysTransManager
{
public:
    KxCoordSysTransManager();
    ~KxCoordSysTransManager();
    KxCoordSysTransManager(const KxCoordSysTransManager&) = delete;
    KxCoordSysTransManager& operator=(const KxCoordSysTransManager&) = delete;

    /// The transform of a projection string, made on the first request for it.
    /// @return never null; KxCoordSysTrans::GetError says whether it converts
    KxCoordSysTrans* GetKxCoordSysTrans(const KxString& projection, ProjectStringType type);

private:
    std::list<std::unique_ptr<KxCoordSysTrans>> m_listTransforms;
    KxMutex m_mutex;
};

KXTILE_API extern KxCoordSysTransManager m_gCoordSysTransManager;

} // namespace KxC
