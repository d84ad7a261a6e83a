// SPDX-License-Identifier: MIT
#include "MosaicPicture.h"

#include "KxFile.h"
#include "LogTexts.h"
#include "MosaicRows.h"
#include "MosaicTiles.h"
#include "PixelCopy.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

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

/// Bytes of a row without alpha, in whole 4-byte words.
long long RowBytes(int width)
{
    return (3LL * width + 3) / 4 * 4;
}

std::unique_ptr<KxImageData> NewPicture(int width, int height)
{
    auto picture = std::make_unique<KxImageData>(
        width, height, KxPixelFormat_RGB, static_cast<int>(RowBytes(width)));
    if (picture->GetData() == nullptr)
        throw NoMemoryForPicture();
    return picture;
}

/// Whether every pixel of a row with alpha is seen.
bool IsOpaque(const KxImageData& line)
{
    const unsigned char* const pixels = line.GetData();
    const std::ptrdiff_t end = std::ptrdiff_t{4} * line.GetWidth();
    unsigned int all = 255;
    for (std::ptrdiff_t i = 3; i < end; i += 4)
        all &= pixels[i];
    return all == 255;
}

} // namespace

bool MosaicPicture::IsPossible(int width, int height)
{
    // The row that is filled has alpha.
    return width >= 1 && height >= 1 && width <= KxImageData::kMaxBytes / 4 &&
           RowBytes(width) <= KxImageData::kMaxBytes / height;
}

MosaicPicture::MosaicPicture(int width, int height)
    : m_image(NewPicture(width, height)), m_line(width, 1, KxPixelFormat_RGBA)
{
    if (m_line.GetData() == nullptr)
        throw NoMemoryForPicture();
}

void MosaicPicture::AddRow(MosaicRows& rows, double y, MosaicTiles& tiles)
{
    std::memset(m_line.GetData(), 0, static_cast<std::size_t>(m_line.GetRowBytes()));
    rows.Fill(m_line, y, tiles);
    if (!HasAlpha() && !m_isLeftOpaque && (tiles.NeedsAlpha() || !IsOpaque(m_line)))
        AddAlphaOrLeave(tiles);
    CopyPixels({m_line.GetData(), 4},
               {PixelOf(*m_image, m_rows++, 0), m_image->GetPixelSize()},
               static_cast<std::size_t>(m_line.GetWidth()));
}

/// So far every pixel is seen.
/// @return false where the picture would be too large
bool MosaicPicture::AddAlpha()
{
    if (m_image->AddAlpha(m_rows) != 0)
        return true;
    if (m_image->GetHeight() <= KxImageData::kMaxBytes / 4 / m_image->GetWidth())
        throw NoMemoryForPicture();
    return false;
}

void MosaicPicture::AddAlphaOrLeave(MosaicTiles& tiles)
{
    if (AddAlpha())
        return;
    // What lies off the grid needs none where every tile is there.
    tiles.AskTheRest();
    if (tiles.NeedsAlpha())
        throw PictureTooLarge();
    m_isLeftOpaque = true;
}

void MosaicPicture::End(bool needsAlpha)
{
    if (needsAlpha && !HasAlpha() && !AddAlpha())
        throw PictureTooLarge();
    if (!needsAlpha)
        m_image->DropAlpha();
    WarnOfSize(m_image->GetRowBytes(), m_image->GetHeight());
}

} // namespace KxC
