// SPDX-License-Identifier: MIT
#pragma once

#include "PixelPositions.h"
#include "Quartic.h"
#include "TransformGrid.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace KxC {

class KxImageData;
class MosaicTiles;

/// Fills a mosaic's rows: each pixel with the source pixel that its transformed position lies in,
/// while few positions are transformed. Along a row, places are interpolated between transformed
/// ones with a bound on their error; where the bound leaves the source pixel open, the position
/// itself is transformed.
/// docs/decisions/0008-mosaic-sampling.md states the bound.
class MosaicRows
{
public:
    /// @param grid  must outlive this
    /// @param xs    of the columns
    MosaicRows(const TransformGrid& grid, PixelPositions xs);

    /// Fills a row of the output. Pixels in places without a picture stay as they are.
    /// @param line  one row with alpha
    void Fill(KxImageData& line, double y, MosaicTiles& tiles);

private:
    /// Columns from m_first to m_first + 4 x m_spacing, with a node at each multiple of m_spacing.
    struct Stretch
    {
        std::size_t m_first;
        std::size_t m_spacing;

        std::size_t Node(std::size_t i) const { return m_first + i * m_spacing; }
        std::size_t End() const { return Node(4); }
    };
    /// The most by which interpolated places are off, in tiles.
    struct Error
    {
        double m_col;
        double m_row;
    };
    class Painter;

    void FillBlock(KxImageData& line, double y, MosaicTiles& tiles);
    void ForgetBlock();
    void Want(std::size_t column);
    void WantAll(std::size_t first, std::size_t end);
    void Transform(double y);
    void PutStretches();
    void TransformNodes(double y);
    void Decide();
    void SplitUp(const Stretch& stretch);
    bool BoundError(const Stretch& stretch, Error& error) const;
    double BoundAlong(double GridPosition::*axis, const Stretch& stretch) const;
    Quartic CurveAlong(double GridPosition::*axis, const Stretch& stretch) const;
    void Interpolate(unsigned char* output,
                     const Stretch& stretch,
                     const Error& error,
                     MosaicTiles& tiles);
    void SampleExact(KxImageData& line, MosaicTiles& tiles);

    const TransformGrid& m_grid;
    PixelPositions m_positions;
    double m_wobble; ///< the most by which columns are off from even spacing, in columns
    bool m_nearest;
    // Of a block of columns, which count from its first:
    std::size_t m_begin = 0; ///< that one
    std::size_t m_count = 0;
    std::vector<double> m_xs;
    std::vector<GridPosition> m_places; ///< of the columns that are transformed
    std::vector<unsigned char> m_exact; ///< 1 for columns that are transformed, or will be
    std::vector<Stretch> m_open;
    std::vector<std::pair<Stretch, Error>> m_decided;
    std::vector<std::size_t> m_wanted;      ///< columns to transform
    std::vector<std::size_t> m_transformed; ///< columns that are
    std::vector<double> m_wantedXs;
    std::vector<GridPosition> m_wantedPlaces;
};

} // namespace KxC
