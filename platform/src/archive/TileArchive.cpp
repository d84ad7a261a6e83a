// SPDX-License-Identifier: MIT
#include "TileArchive.h"

#include "KxImgUtility.h"
#include "KxMath.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace KxC {

namespace {

/// Not a name that KxFile::SaveWhole may be using.
std::string TemporaryName(const std::string& path)
{
    static std::atomic<unsigned int> s_count{0};
    std::array<char, 64> name{};
    std::snprintf(name.data(),
                  name.size(),
                  ".kxtile-%ld-t%u.tmp",
                  static_cast<long>(::getpid()),
                  s_count.fetch_add(1));
    return path.substr(0, path.rfind('/') + 1) + name.data();
}

} // namespace

std::string FormatOf(std::string_view bytes)
{
    const std::string extension =
        KxImgUtility::TellImgExt(reinterpret_cast<const unsigned char*>(bytes.data()),
                                 static_cast<unsigned int>(bytes.size()))
            .Cstr();
    if (extension == ".jpeg")
        return "jpg";
    return extension.empty() ? extension : extension.substr(1);
}

void ThrowErrno()
{
    throw ArchiveError(std::generic_category().message(errno));
}

void UsedStrips::Add(int level, int column)
{
    if (level >= kBits) {
        m_used.set(static_cast<std::size_t>(column >> (level - kBits)));
        return;
    }
    const std::size_t width = kStrips >> level;
    const std::size_t first = static_cast<std::size_t>(column) * width;
    for (std::size_t strip = first; strip < first + width; ++strip)
        m_used.set(strip);
}

/// The widest gap is what the used strips leave out; going east from its end they are one piece, or
/// as near to one as they come.
std::optional<double> UsedStrips::CentreAcrossAntimeridian() const
{
    if (!m_used.test(0) || !m_used.test(kStrips - 1) || m_used.all())
        return std::nullopt;
    std::size_t widest = 0;
    std::size_t gapEnd = 0;
    std::size_t width = 0;
    for (std::size_t strip = 0; strip < kStrips; ++strip) {
        width = m_used.test(strip) ? 0 : width + 1;
        if (width > widest) {
            widest = width;
            gapEnd = strip + 1;
        }
    }
    const auto strips = static_cast<double>(2 * gapEnd + kStrips - widest) / 2;
    const double longitude = strips * 360 / kStrips - 180;
    return longitude > 180 ? longitude - 360 : longitude;
}

void TileSurvey::Add(const ArchivePlace& place, std::string_view bytes)
{
    const Extent own{place.m_nCol, place.m_nCol, place.m_nRow, place.m_nRow, {}};
    Extent& extent = m_extents.try_emplace(place.m_nLevel, own).first->second;
    extent.m_nMinCol = std::min(extent.m_nMinCol, place.m_nCol);
    extent.m_nMaxCol = std::max(extent.m_nMaxCol, place.m_nCol);
    extent.m_nMinRow = std::min(extent.m_nMinRow, place.m_nRow);
    extent.m_nMaxRow = std::max(extent.m_nMaxRow, place.m_nRow);
    extent.m_strips.Add(place.m_nLevel, place.m_nCol);
    ++m_formats[FormatOf(bytes)];
    ++m_nTiles;
}

/// The bounds are those of the last level: readers size the picture by them at that level.
void TileSurvey::Describe(KxTileArchiveReport& report) const
{
    report = {};
    report.m_nSkipped = m_nSkipped;
    if (m_nTiles == 0)
        throw ArchiveError("there is no tile to write");
    const auto& [level, extent] = *m_extents.rbegin();
    report.m_nTiles = m_nTiles;
    report.m_nMinLevel = m_extents.begin()->first;
    report.m_nMaxLevel = level;
    KxRect2d southWest;
    KxRect2d northEast;
    KxMath::CalcWMTileLatLonBounds(southWest, level, extent.m_nMinRow, extent.m_nMinCol, 1);
    KxMath::CalcWMTileLatLonBounds(northEast, level, extent.m_nMaxRow, extent.m_nMaxCol, 1);
    report.m_bounds =
        KxRect2d(southWest.m_dLeft, northEast.m_dTop, northEast.m_dRight, southWest.m_dBottom);
    report.m_centre.x = extent.m_strips.CentreAcrossAntimeridian().value_or(
        (report.m_bounds.m_dLeft + report.m_bounds.m_dRight) / 2);
    report.m_centre.y = (report.m_bounds.m_dBottom + report.m_bounds.m_dTop) / 2;
    const auto most = std::max_element(
        m_formats.begin(), m_formats.end(), [](const auto& one, const auto& other) {
            return one.second < other.second;
        });
    report.m_strFormat = most->first.c_str();
}

NascentFile::NascentFile(std::string path) : m_path(std::move(path)), m_name(TemporaryName(m_path))
{
    ::unlink(m_name.c_str()); // a killed process with our number may have left one
}

NascentFile::~NascentFile()
{
    if (!m_name.empty())
        ::unlink(m_name.c_str());
}

void NascentFile::Commit()
{
    const int file = ::open(m_name.c_str(), O_RDONLY | O_CLOEXEC);
    const bool whole = file >= 0 && ::fsync(file) == 0;
    const int error = errno;
    if (file >= 0)
        ::close(file);
    errno = error;
    if (!whole || std::rename(m_name.c_str(), m_path.c_str()) != 0)
        ThrowErrno();
    m_name.clear();
}

TileArchive::~TileArchive() = default;

} // namespace KxC
