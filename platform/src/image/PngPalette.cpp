// SPDX-License-Identifier: MIT
#include "PngParts.h"

#include <algorithm>

namespace KxC::Imaging {

namespace {

constexpr std::uint32_t kOpaqueAlpha = 0xFF000000U;

/// A pixel as one number: R lowest, A highest.
std::uint32_t PackPixel(const unsigned char* pixel, int pixelSize)
{
    const std::uint32_t colour = static_cast<std::uint32_t>(pixel[0]) |
                                 static_cast<std::uint32_t>(pixel[1]) << 8 |
                                 static_cast<std::uint32_t>(pixel[2]) << 16;
    return colour | (pixelSize == 4 ? static_cast<std::uint32_t>(pixel[3]) << 24 : kOpaqueAlpha);
}

bool IsTransparent(std::uint32_t colour)
{
    return (colour & kOpaqueAlpha) != kOpaqueAlpha;
}

} // namespace

PngPalette::PngPalette()
{
    m_slotIndices.fill(kFree);
}

/// The slot that holds the colour or the free one where it belongs; a quarter of the slots is used
/// at most, so that the search ends.
std::size_t PngPalette::SlotOf(std::uint32_t colour) const
{
    std::size_t slot = (colour * 0x9E3779B1U) >> 22;
    while (m_slotIndices[slot] != kFree && m_slotColours[slot] != colour)
        slot = (slot + 1) % kSlots;
    return slot;
}

bool PngPalette::Add(std::uint32_t colour)
{
    const std::size_t slot = SlotOf(colour);
    if (m_slotIndices[slot] != kFree)
        return true;
    if (m_count == kMaxColours)
        return false;
    m_slotColours[slot] = colour;
    m_slotIndices[slot] = static_cast<std::int16_t>(m_count);
    m_colours[static_cast<std::size_t>(m_count++)] = colour;
    return true;
}

bool PngPalette::Collect(const PixelRows& rows)
{
    // Flat areas are what makes palettes: a pixel like the one before needs no look-up.
    std::uint32_t last = PackPixel(rows.southRow, rows.pixelSize);
    Add(last);
    for (int row = 0; row < rows.height; ++row) {
        const unsigned char* pixel = rows.RowFromNorth(row);
        for (int column = 0; column < rows.width; ++column, pixel += rows.pixelSize) {
            const std::uint32_t colour = PackPixel(pixel, rows.pixelSize);
            if (colour != last && !Add(colour))
                return false;
            last = colour;
        }
    }
    return true;
}

void PngPalette::Arrange()
{
    const auto end = m_colours.begin() + m_count;
    const auto opaque = std::stable_partition(m_colours.begin(), end, IsTransparent);
    m_transparentCount = static_cast<int>(opaque - m_colours.begin());
    for (int index = 0; index < m_count; ++index)
        m_slotIndices[SlotOf(m_colours[static_cast<std::size_t>(index)])] =
            static_cast<std::int16_t>(index);
}

std::array<unsigned char, 4> PngPalette::Colour(int index) const
{
    const std::uint32_t colour = m_colours[static_cast<std::size_t>(index)];
    return {static_cast<unsigned char>(colour & 0xFFU),
            static_cast<unsigned char>(colour >> 8 & 0xFFU),
            static_cast<unsigned char>(colour >> 16 & 0xFFU),
            static_cast<unsigned char>(colour >> 24)};
}

void PngPalette::IndexRow(const unsigned char* pixels,
                          int width,
                          int pixelSize,
                          unsigned char* out) const
{
    std::uint32_t last = PackPixel(pixels, pixelSize);
    std::int16_t index = m_slotIndices[SlotOf(last)];
    for (int column = 0; column < width; ++column, pixels += pixelSize) {
        const std::uint32_t colour = PackPixel(pixels, pixelSize);
        if (colour != last)
            index = m_slotIndices[SlotOf(colour)];
        last = colour;
        out[column] = static_cast<unsigned char>(index);
    }
}

} // namespace KxC::Imaging
