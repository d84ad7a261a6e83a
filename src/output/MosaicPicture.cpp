// SPDX-License-Identifier: MIT
#include "MosaicPicture.h"

#include "KxFile.h"
#include "LogTexts.h"
#include "MosaicRows.h"
#include "MosaicTiles.h"
#include "PixelCopy.h"

#include <cstdint>
#include <cstring>
#include <utility>

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

std::unique_ptr<KxImageData> NewImage(int width, int height, KxPixelFormat format)
{
    const int bytesPerPixel = format == KxPixelFormat_RGBA ? 4 : 3;
    const int rowBytes = KxImageData::GetAlignWidth4Bytes(bytesPerPixel * width * 8);
    WarnOfSize(rowBytes, height);
    auto image = std::make_unique<KxImageData>(width, height, format, rowBytes);
    if (image->GetData() == nullptr)
        throw NoMemoryForPicture();
    return image;
}

} // namespace

MosaicPicture::MosaicPicture(int width, int height)
    : m_image(NewImage(width, height, KxPixelFormat_RGB))
{
}

void MosaicPicture::AddRow(MosaicRows& rows, double y, MosaicTiles& tiles)
{
    const auto& holes = rows.Fill(*m_image, m_rows, y, tiles);
    if (m_image->GetPixelSize() == 3 && tiles.NeedsAlpha()) {
        AddAlpha();
        rows.Fill(*m_image, m_rows, y, tiles);
    } else if (m_image->GetPixelSize() == 3 && !holes.empty()) {
        NoteHoles(holes);
    }
    ++m_rows;
}

void MosaicPicture::NoteHoles(const std::vector<std::size_t>& columns)
{
    const auto width = static_cast<std::size_t>(m_image->GetWidth());
    m_holes.resize(width * static_cast<std::size_t>(m_image->GetHeight()));
    for (const std::size_t column : columns)
        m_holes[static_cast<std::size_t>(m_rows) * width + column] = true;
}

void MosaicPicture::AddAlpha()
{
    if (m_image->GetPixelSize() == 4)
        return;
    const int width = m_image->GetWidth();
    auto wider = NewImage(width, m_image->GetHeight(), KxPixelFormat_RGBA);
    for (int row = 0; row < m_rows; ++row)
        CopyPixels({PixelOf(std::as_const(*m_image), row, 0), 3},
                   {PixelOf(*wider, row, 0), 4},
                   static_cast<std::size_t>(width));
    m_image = std::move(wider);
    for (std::size_t hole = 0; hole < m_holes.size(); ++hole)
        if (m_holes[hole])
            std::memset(PixelOf(*m_image,
                                static_cast<int>(hole / static_cast<std::size_t>(width)),
                                static_cast<int>(hole % static_cast<std::size_t>(width))),
                        0,
                        4);
    m_holes = {};
}

} // namespace KxC
