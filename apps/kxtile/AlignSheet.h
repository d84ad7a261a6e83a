// SPDX-License-Identifier: MIT
#pragma once

#include "SourceView.h"

#include <memory>
#include <string>
#include <vector>

namespace KxTileHost {

/// What the sheet shows of one source, side by side: as it comes, aligned, a half each without
/// datum shift and aligned under one graticule, and the difference of these two.
struct AlignRow
{
    std::string m_name;
    std::string m_detail;
    SourceView m_asItComes;
    SourceView m_aligned;
    SourceView m_unshifted; ///< in the frame of the aligned one
};

/// How far two views of one size differ: the mean over all pixels and colours, of 255.
double MeanDifference(const SourceView& one, const SourceView& other);

/// Draws one row of four pictures for each source.
/// @param place  the middle of every view
/// @return null when the sheet would be larger than a picture can be
std::unique_ptr<KxC::KxImageData> DrawAlignSheet(const std::vector<AlignRow>& rows,
                                                 const GeoPoint& place);

} // namespace KxTileHost
