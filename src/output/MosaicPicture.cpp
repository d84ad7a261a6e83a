// SPDX-License-Identifier: MIT
#include "MosaicPicture.h"

#include "KxFile.h"
#include "LogTexts.h"
#include "MosaicRows.h"

#include <cstdint>

namespace KxC {

namespace {

constexpr double kTwoGigabytes = 2147483648.0;

/// Says when the picture's bytes, counted in 32 bits, exceed what such a count can hold: that is,
/// never. Memory is taken by KxImageData, which counts in 64.
void WarnOfSize(int rowBytes, int height)
{
    const auto bytes = static_cast<std::int32_t>(static_cast<std::uint32_t>(rowBytes) *
                                                 static_cast<std::uint32_t>(height));
    if (static_cast<double>(bytes) > kTwoGigabytes)
        KxFile::WriteLogInfo(LogTexts::kPictureBeyond2GB);
}

} // namespace

MosaicPicture::MosaicPicture(int width, int height)
    : m_image(std::make_unique<KxImageData>(width, height, KxPixelFormat_RGBA))
{
    if (m_image->GetData() == nullptr)
        throw NoMemoryForPicture();
}

void MosaicPicture::AddRow(MosaicRows& rows, double y, MosaicTiles& tiles)
{
    rows.Fill(*m_image, m_rows++, y, tiles);
}

void MosaicPicture::End(bool needsAlpha)
{
    if (!needsAlpha)
        m_image->DropAlpha();
    WarnOfSize(m_image->GetRowBytes(), m_image->GetHeight());
}

} // namespace KxC
