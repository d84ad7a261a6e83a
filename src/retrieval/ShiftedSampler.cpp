// SPDX-License-Identifier: MIT
#include "ShiftedSampler.h"

#include "GridRows.h"
#include "PixelCopy.h"
#include "Sampler.h"

#include <optional>

namespace KxC {

namespace {

/// Source tiles of one size as one large picture, whose pixels count from the range's south-west
/// corner.
class JoinedTiles
{
public:
    /// @return nothing where the pictures differ in size
    static std::optional<JoinedTiles> Of(const SourceTiles& tiles);

    double Width() const { return static_cast<double>(m_columns.size()); }
    double Height() const { return static_cast<double>(m_rows.size()); }
    int TileWidth() const { return m_tileWidth; }
    int TileHeight() const { return m_tileHeight; }

    /// Copies one pixel; nothing where no picture is.
    template <int ToSize>
    void CopyTo(unsigned char* to, std::size_t row, std::size_t column) const
    {
        const Place& y = m_rows[row];
        const Place& x = m_columns[column];
        const Picture& picture = m_pictures[y.m_tile + x.m_tile];
        if (picture.m_bytes == nullptr)
            return;
        const unsigned char* from = picture.m_bytes + y.m_pixel * picture.m_rowBytes;
        if (picture.m_pixelSize == 4)
            CopyPixel<4, ToSize>(from + x.m_pixel * 4, to);
        else
            CopyPixel<3, ToSize>(from + x.m_pixel * 3, to);
    }

private:
    struct Picture
    {
        const unsigned char* m_bytes = nullptr;
        std::size_t m_rowBytes = 0;
        int m_pixelSize = 0;
    };
    /// A row or column of the large picture: where its tiles begin in m_pictures, and which row or
    /// column of theirs it is.
    struct Place
    {
        std::size_t m_tile;
        std::size_t m_pixel;
    };

    bool Take(const KxImageData* image);
    static std::vector<Place> PlacesOf(long long tiles, std::size_t tileStep, int pixels);

    int m_tileWidth = 0;
    int m_tileHeight = 0;
    std::vector<Picture> m_pictures;
    std::vector<Place> m_columns;
    std::vector<Place> m_rows;
};

std::optional<JoinedTiles> JoinedTiles::Of(const SourceTiles& tiles)
{
    const TileRange& range = tiles.Range();
    JoinedTiles joined;
    for (int row = range.m_minRow; row <= range.m_maxRow; ++row)
        for (int col = range.m_minCol; col <= range.m_maxCol; ++col)
            if (!joined.Take(tiles.ImageAt(row, col)))
                return std::nullopt;
    joined.m_columns = PlacesOf(range.Columns(), 1, joined.m_tileWidth);
    joined.m_rows =
        PlacesOf(range.Rows(), static_cast<std::size_t>(range.Columns()), joined.m_tileHeight);
    return joined;
}

bool JoinedTiles::Take(const KxImageData* image)
{
    m_pictures.emplace_back();
    if (image == nullptr)
        return true;
    if (m_tileWidth == 0) {
        m_tileWidth = image->GetWidth();
        m_tileHeight = image->GetHeight();
    }
    m_pictures.back() = {
        image->GetData(), static_cast<std::size_t>(image->GetRowBytes()), image->GetPixelSize()};
    return image->GetWidth() == m_tileWidth && image->GetHeight() == m_tileHeight;
}

std::vector<JoinedTiles::Place>
JoinedTiles::PlacesOf(long long tiles, std::size_t tileStep, int pixels)
{
    std::vector<Place> places;
    for (std::size_t tile = 0; tile < static_cast<std::size_t>(tiles); ++tile)
        for (std::size_t pixel = 0; pixel < static_cast<std::size_t>(pixels); ++pixel)
            places.push_back({tile * tileStep, pixel});
    return places;
}

/// One axis of the large picture: from places in tiles to pixels.
struct PixelAxis
{
    double m_firstTile;
    double m_pixelsPerTile;
    double m_length;    ///< pixels
    double m_tolerance; ///< pixels

    double At(double place) const { return (place - m_firstTile) * m_pixelsPerTile; }
    /// Outside whatever the tolerance; false for NaN.
    bool IsOutside(double at) const { return at <= -m_tolerance || at >= m_length + m_tolerance; }
    /// Whether the tolerance leaves only one pixel; false for NaN.
    bool IsSure(double at) const
    {
        if (!(at > m_tolerance && at < m_length))
            return false;
        const double inPixel = at - static_cast<double>(static_cast<int>(at));
        return inPixel > m_tolerance && inPixel < 1 - m_tolerance;
    }
    void SetTolerance(double tiles)
    {
        // Besides what the place may be off by, the rounding of the large picture's own numbers.
        constexpr double kRounding = 1e-9;
        m_tolerance = tiles * m_pixelsPerTile + kRounding;
    }
};

class ShiftedSampler
{
public:
    ShiftedSampler(KxImageData& output,
                   const SampleAxes& axes,
                   const SourceTiles& tiles,
                   const SourceGrid& grid,
                   const JoinedTiles& joined)
        : m_output(output), m_axes(axes), m_tiles(tiles), m_grid(grid), m_joined(joined),
          m_rowsOfPlaces(grid, axes.m_xs), m_x{static_cast<double>(tiles.Range().m_minCol),
                                               static_cast<double>(joined.TileWidth()),
                                               joined.Width(),
                                               0},
          m_y{static_cast<double>(tiles.Range().m_minRow),
              static_cast<double>(joined.TileHeight()),
              joined.Height(),
              0}
    {
    }

    template <int PixelSize>
    void Run()
    {
        for (int row = 0; row < m_output.GetHeight(); ++row) {
            m_rowsOfPlaces.MoveTo(m_axes.m_ys[static_cast<std::size_t>(row)]);
            m_x.SetTolerance(m_rowsOfPlaces.ColumnTolerance());
            m_y.SetTolerance(m_rowsOfPlaces.RowTolerance());
            SampleRow<PixelSize>(row);
        }
    }

private:
    template <int PixelSize>
    void SampleRow(int row)
    {
        const PixelAxis x = m_x;
        const PixelAxis y = m_y;
        const double* const columns = m_rowsOfPlaces.Columns().data();
        const double* const rows = m_rowsOfPlaces.Rows().data();
        unsigned char* to = PixelOf(m_output, row, 0);
        const int count = m_output.GetWidth();
        for (int column = 0; column < count; ++column, to += PixelSize) {
            const double across = x.At(columns[column]);
            const double up = y.At(rows[column]);
            if (x.IsSure(across) && y.IsSure(up))
                m_joined.CopyTo<PixelSize>(to,
                                           static_cast<std::size_t>(static_cast<int>(up)),
                                           static_cast<std::size_t>(static_cast<int>(across)));
            else if (!x.IsOutside(across) && !y.IsOutside(up))
                SampleExactly(row, column);
        }
    }

    void SampleExactly(int row, int column)
    {
        SamplePixel(m_output,
                    row,
                    column,
                    m_tiles,
                    m_grid(m_axes.m_xs[static_cast<std::size_t>(column)],
                           m_axes.m_ys[static_cast<std::size_t>(row)]));
    }

    KxImageData& m_output;
    const SampleAxes& m_axes;
    const SourceTiles& m_tiles;
    const SourceGrid& m_grid;
    const JoinedTiles& m_joined;
    GridRows m_rowsOfPlaces;
    PixelAxis m_x;
    PixelAxis m_y;
};

} // namespace

bool SampleShiftedNearest(KxImageData& output,
                          const SampleAxes& axes,
                          const SourceTiles& tiles,
                          const SourceGrid& grid)
{
    const std::optional<JoinedTiles> joined = JoinedTiles::Of(tiles);
    if (!joined)
        return false;
    ShiftedSampler sampler(output, axes, tiles, grid, *joined);
    if (output.GetPixelSize() == 4)
        sampler.Run<4>();
    else
        sampler.Run<3>();
    return true;
}

} // namespace KxC
