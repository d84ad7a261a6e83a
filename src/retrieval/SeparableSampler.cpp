// SPDX-License-Identifier: MIT
#include "SeparableSampler.h"

#include "PixelCopy.h"
#include "Sampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace KxC {

namespace {

/// A place on one axis: the tile, and the position inside it, [0, 1).
struct AxisPlace
{
    int m_tile;
    double m_fraction;

    static AxisPlace Of(double coordinate)
    {
        const double tile = std::floor(coordinate);
        return {TileIndex(tile, IndexRule::Truncate), coordinate - tile};
    }
    /// The pixel of a picture with `count` of them, as KxImageData::GetValue2 takes it.
    int Pixel(int count) const
    {
        return static_cast<int>(std::clamp(std::floor(m_fraction * count), 0.0, count - 1.0));
    }
};

/// Output columns side by side that lie in one column of tiles.
struct ColumnRun
{
    std::size_t m_first;
    std::size_t m_count;
    int m_tile;
};

std::vector<ColumnRun> RunsOf(const std::vector<AxisPlace>& columns)
{
    std::vector<ColumnRun> runs;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (runs.empty() || runs.back().m_tile != columns[i].m_tile)
            runs.push_back({i, 0, columns[i].m_tile});
        ++runs.back().m_count;
    }
    return runs;
}

/// Copies one run of columns, row after row.
class RunCopier
{
public:
    RunCopier(KxImageData& output, const ColumnRun& run, const std::vector<AxisPlace>& columns)
        : m_output(output), m_run(run), m_columns(columns), m_pixels(run.m_count)
    {
    }

    void CopyRow(int outputRow, const KxImageData& image, const AxisPlace& row)
    {
        const int pixelRow = row.Pixel(image.GetHeight());
        unsigned char* to = PixelOf(m_output, outputRow, static_cast<int>(m_run.m_first));
        if (&image == m_lastImage && pixelRow == m_lastPixelRow && outputRow == m_lastRow + 1)
            std::memcpy(to, to - m_output.GetRowBytes(), RunBytes());
        else
            CopyFrom(image, pixelRow, to);
        m_lastImage = &image;
        m_lastPixelRow = pixelRow;
        m_lastRow = outputRow;
    }

private:
    std::size_t RunBytes() const
    {
        return m_run.m_count * static_cast<std::size_t>(m_output.GetPixelSize());
    }

    void CopyFrom(const KxImageData& image, int pixelRow, unsigned char* to)
    {
        PlacePixels(image.GetWidth());
        if (m_sideBySide)
            CopyPixels({PixelOf(image, pixelRow, m_pixels[0]), image.GetPixelSize()},
                       {to, m_output.GetPixelSize()},
                       m_run.m_count);
        else
            GatherPixels({PixelOf(image, pixelRow, 0), image.GetPixelSize()},
                         {to, m_output.GetPixelSize()},
                         m_pixels);
    }

    /// The pixels of the run in pictures of a width; mostly all have the same.
    void PlacePixels(int width)
    {
        if (width == m_width)
            return;
        m_width = width;
        m_sideBySide = true;
        for (std::size_t i = 0; i < m_pixels.size(); ++i) {
            m_pixels[i] = m_columns[m_run.m_first + i].Pixel(width);
            m_sideBySide = m_sideBySide && m_pixels[i] == m_pixels[0] + static_cast<int>(i);
        }
    }

    KxImageData& m_output;
    ColumnRun m_run;
    const std::vector<AxisPlace>& m_columns;
    std::vector<int> m_pixels; ///< of the source picture, for each column of the run
    int m_width = 0;
    bool m_sideBySide = true;
    const KxImageData* m_lastImage = nullptr;
    int m_lastPixelRow = 0;
    int m_lastRow = 0;
};

std::vector<double> ColumnsOf(const SampleAxes& axes, const SourceGrid& grid)
{
    std::vector<double> columns;
    for (const double x : axes.m_xs)
        columns.push_back(grid(x, 0).m_col);
    return columns;
}

std::vector<double> RowsOf(const SampleAxes& axes, const SourceGrid& grid)
{
    std::vector<double> rows;
    for (const double y : axes.m_ys)
        rows.push_back(grid(0, y).m_row);
    return rows;
}

} // namespace

void SampleSeparableNearest(KxImageData& output,
                            const SampleAxes& axes,
                            const SourceTiles& tiles,
                            const SourceGrid& grid)
{
    std::vector<AxisPlace> columns;
    for (const double column : ColumnsOf(axes, grid))
        columns.push_back(AxisPlace::Of(column));
    const std::vector<double> rows = RowsOf(axes, grid);
    for (const ColumnRun& run : RunsOf(columns)) {
        RunCopier copier(output, run, columns);
        for (int row = 0; row < output.GetHeight(); ++row) {
            const AxisPlace place = AxisPlace::Of(rows[static_cast<std::size_t>(row)]);
            if (const KxImageData* image = tiles.ImageAt(place.m_tile, run.m_tile))
                copier.CopyRow(row, *image, place);
        }
    }
}

void SampleSeparable(KxImageData& output,
                     const SampleAxes& axes,
                     const SourceTiles& tiles,
                     const SourceGrid& grid)
{
    const std::vector<double> columns = ColumnsOf(axes, grid);
    const std::vector<double> rows = RowsOf(axes, grid);
    SampleRows(output, tiles, [&](int row, std::vector<GridPosition>& places) {
        for (std::size_t i = 0; i < places.size(); ++i)
            places[i] = {columns[i], rows[static_cast<std::size_t>(row)]};
    });
}

} // namespace KxC
