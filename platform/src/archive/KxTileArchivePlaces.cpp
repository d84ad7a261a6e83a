// SPDX-License-Identifier: MIT
#include "KxTileArchivePlaces.h"

#include "ArchiveJson.h"
#include "ArchivePlaces.h"
#include "KxFileSizeGuard.h"

#include <exception>

namespace KxC {

namespace {

void VisitEither(const KxString& path, KxTileArchiveFormat format, const PlaceVisitor& visitor)
{
    switch (format) {
    case KxTileArchiveFormat_MBTiles:
        return VisitMbTiles(path.Cstr(), visitor);
    case KxTileArchiveFormat_PMTiles:
        return VisitPmTiles(path.Cstr(), visitor);
    }
    throw ArchiveError("there is no such format of archives");
}

std::string OriginOfEither(const KxString& path, KxTileArchiveFormat format)
{
    switch (format) {
    case KxTileArchiveFormat_MBTiles:
        return OriginOfMbTiles(path.Cstr());
    case KxTileArchiveFormat_PMTiles:
        return OriginOfPmTiles(path.Cstr());
    }
    throw ArchiveError("there is no such format of archives");
}

/// Runs a step that may throw behind an operation that must not.
template <typename Step>
bool Try(KxString& error, Step step)
{
    const KxFileSizeGuard guard;
    try {
        try {
            step();
            return true;
        } catch (const ArchiveError& failure) {
            error = failure.what();
        }
    } catch (const std::exception&) {
        error = "out of memory"; // short enough to need none
    }
    return false;
}

} // namespace

bool KxTileArchivePlaces::Visit(
    const KxString& path, KxTileArchiveFormat format, Visitor visitor, void* user, KxString& error)
{
    return Try(error, [&] {
        VisitEither(path, format, [&](const ArchivePlace& place) {
            return visitor(place.m_nLevel, place.m_nRow, place.m_nCol, user) != 0;
        });
    });
}

bool KxTileArchivePlaces::ReadOrigin(const KxString& path,
                                     KxTileArchiveFormat format,
                                     KxString& origin,
                                     KxString& error)
{
    return Try(error, [&] { origin = OriginAsKept(OriginOfEither(path, format)).c_str(); });
}

bool KxTileArchivePlaces::IsSameOrigin(const KxString& kept, const KxString& origin)
{
    KxString error;
    bool isSame = false;
    return Try(error, [&] { isSame = OriginAsKept(origin.Cstr()) == kept.Cstr(); }) && isSame;
}

} // namespace KxC
