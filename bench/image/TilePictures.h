// SPDX-License-Identifier: MIT
#pragma once

// Tiles for benchmarks: cut from the Blue Marble where the file is there, else made up.

#include <string>
#include <vector>

namespace KxC::ImageBench {

using Bytes = std::vector<unsigned char>;

inline constexpr int kTileSide = 256;

struct TileSet
{
    std::vector<Bytes> tiles; ///< R, G, B rows without padding
    std::string origin;       ///< for a benchmark's label
};

/// The same tiles for every benchmark; made at the first call.
const TileSet& Tiles();
/// The same with an alpha channel: opaque but for a transparent margin, as where a picture ends.
const TileSet& TilesWithAlpha();

/// Peak signal to noise ratio, dB, of 8-bit samples; 99 for equal ones.
double Psnr(const Bytes& a, const Bytes& b);

} // namespace KxC::ImageBench
