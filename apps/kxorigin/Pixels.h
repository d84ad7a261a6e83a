// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace KxOrigin {

struct Colour
{
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;

    friend bool operator==(const Colour&, const Colour&) = default;
};

/// A picture in memory; row 0 is the north edge, column 0 the west edge.
struct Pixels
{
    Pixels() = default;
    Pixels(int pixelColumns, int pixelRows)
        : width(pixelColumns), height(pixelRows),
          data(static_cast<std::size_t>(pixelColumns) * static_cast<std::size_t>(pixelRows))
    {
    }

    /// @param column, row  within [0, width) and [0, height)
    Colour& At(int column, int row)
    {
        return data[static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                    static_cast<std::size_t>(column)];
    }
    const Colour& At(int column, int row) const
    {
        return const_cast<Pixels*>(this)->At(column, row);
    }

    int width = 0;
    int height = 0;
    std::vector<Colour> data;
};

} // namespace KxOrigin
