// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"

#include <memory>
#include <string>
#include <vector>

namespace KxTileHost {

/// One picture of a sheet with the two lines of text below it.
struct SheetPanel
{
    std::string m_title;
    std::string m_detail;
    std::unique_ptr<KxC::KxImageData> m_image; ///< null leaves the panel empty
};

/// Draws pictures side by side, three in a row, each scaled to 256 pixels and titled.
/// @return null when the sheet would be larger than a picture can be
std::unique_ptr<KxC::KxImageData> DrawContactSheet(const std::vector<SheetPanel>& panels);

} // namespace KxTileHost
