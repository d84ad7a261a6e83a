// SPDX-License-Identifier: MIT
#pragma once

// The PNG writer's palette.

#include "Deflate.h"
#include "ImageCodecs.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace KxC::Imaging {

/// The distinct colours of a picture as long as there are at most 256. An index is known only after
/// Arrange.
class PngPalette
{
public:
    static constexpr int kMaxColours = 256;

    PngPalette();

    /// Collects a picture's colours.
    /// @return false when there are more than kMaxColours
    bool Collect(const PixelRows& rows);
    /// Orders the colours, those with transparency first: tRNS ends with the last of them.
    void Arrange();

    int Count() const { return m_count; }
    int TransparentCount() const { return m_transparentCount; }
    /// Bytes R, G, B, A of a colour; alpha 255 where the picture has none.
    std::array<unsigned char, 4> Colour(int index) const;
    /// Writes the palette indices of a row of pixels.
    void IndexRow(const unsigned char* pixels, int width, int pixelSize, unsigned char* out) const;

private:
    static constexpr std::size_t kSlots = 1024;
    static constexpr std::int16_t kFree = -1;

    std::size_t SlotOf(std::uint32_t colour) const;
    bool Add(std::uint32_t colour);

    std::array<std::uint32_t, kSlots> m_slotColours{};
    std::array<std::int16_t, kSlots> m_slotIndices{};
    std::array<std::uint32_t, kMaxColours> m_colours{};
    int m_count = 0;
    int m_transparentCount = 0;
};

} // namespace KxC::Imaging
