// SPDX-License-Identifier: MIT
#include "Stretch.h"

#include "ReadBudget.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace KxC {

namespace {

/// Pixels that are looked at in a raster without statistics.
constexpr double kSample = 512.0 * 512.0;
/// Blocks that are read for it, and pixels of each: blocks can be long.
constexpr int kMaxBlocks = 64;
constexpr int kMaxBlockPixels = 65536;
/// Pixels that are decoded for it, a block's whole ones.
constexpr double kMaxDecoded = 128.0 * 1024 * 1024;
/// Seconds of the processor's time that it may take: who opens a raster waits for it.
constexpr double kMaxSeconds = 5;

struct Range
{
    double m_low = std::numeric_limits<double>::infinity();
    double m_high = -std::numeric_limits<double>::infinity();

    void Take(double value)
    {
        m_low = std::min(m_low, value);
        m_high = std::max(m_high, value);
    }
    bool IsThere() const { return m_low <= m_high; }
};

/// What means "nothing here" in one band.
struct NoData
{
    explicit NoData(GDALRasterBand& band) : m_isFloat(band.GetRasterDataType() == GDT_Float32)
    {
        m_value = band.GetNoDataValue(&m_isThere);
    }
    bool Is(double value) const
    {
        return m_isThere != 0 &&
               (m_isFloat ? static_cast<float>(value) == static_cast<float>(m_value)
                          : value == m_value);
    }

    bool m_isFloat;
    int m_isThere = 0;
    double m_value = 0;
};

/// Looks at the beginning of some blocks, evenly spread.
class Sampler
{
public:
    Sampler(GDALRasterBand& band, ReadBudget& budget)
        : m_band(band), m_noData(band), m_budget(budget)
    {
        band.GetBlockSize(&m_width, &m_height);
        m_across = (band.GetXSize() - 1) / m_width + 1;
        m_down = (band.GetYSize() - 1) / m_height + 1;
    }

    void Run(Range& range)
    {
        const double blocks = static_cast<double>(m_across) * m_down;
        const double pixels = static_cast<double>(m_width) * m_height;
        const int count = static_cast<int>(
            std::min({blocks, double{kMaxBlocks}, std::max(1.0, kMaxDecoded / pixels)}));
        for (int i = 0; i < count && !m_budget.IsSpent(); ++i) {
            const auto block = static_cast<long long>((i + 0.5) * blocks / count);
            Look(static_cast<int>(block % m_across), static_cast<int>(block / m_across), range);
        }
    }

private:
    void Look(int blockColumn, int blockRow, Range& range)
    {
        const int x = blockColumn * m_width;
        const int y = blockRow * m_height;
        const int width = std::min({m_width, m_band.GetXSize() - x, kMaxBlockPixels});
        const int height =
            std::min({m_height, m_band.GetYSize() - y, std::max(1, kMaxBlockPixels / width)});
        m_values.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        GDALRasterIOExtraArg arguments = m_budget.Arguments();
        if (m_band.RasterIO(GF_Read,
                            x,
                            y,
                            width,
                            height,
                            m_values.data(),
                            width,
                            height,
                            GDT_Float64,
                            0,
                            0,
                            &arguments) != CE_None)
            return;
        for (const double value : m_values)
            if (std::isfinite(value) && !m_noData.Is(value))
                range.Take(value);
    }

    GDALRasterBand& m_band;
    NoData m_noData;
    ReadBudget& m_budget;
    int m_width = 1;
    int m_height = 1;
    int m_across = 1;
    int m_down = 1;
    std::vector<double> m_values;
};

/// Overviews hold the raster in fewer blocks.
double ReductionOfSample(GDALDataset& dataset)
{
    const double pixels = static_cast<double>(dataset.GetRasterXSize()) * dataset.GetRasterYSize();
    return std::max(1.0, std::sqrt(pixels / kSample));
}

/// @return false when the band carries no statistics
bool TakeStored(GDALRasterBand& band, Range& range)
{
    double low = 0;
    double high = 0;
    if (band.GetStatistics(1, 0, &low, &high, nullptr, nullptr) != CE_None || !std::isfinite(low) ||
        !std::isfinite(high) || low > high)
        return false;
    range.Take(low);
    range.Take(high);
    return true;
}

} // namespace

void FindStretch(RasterFile& file, BandPlan& plan)
{
    if (plan.m_isByte || plan.m_kind == BandPlan::Kind::Palette)
        return;
    GDALDataset& sample = file.Choose(ReductionOfSample(file.Dataset()));
    ReadBudget budget(kMaxSeconds);
    Range range;
    for (int i = 0; i < plan.m_colours; ++i) {
        const int band = plan.m_bands[static_cast<std::size_t>(i)];
        GDALRasterBand& whole = *file.Dataset().GetRasterBand(band);
        if (whole.GetRasterDataType() == GDT_Byte) { // beside bands of another type
            range.Take(0);
            range.Take(255);
        } else if (!TakeStored(whole, range)) {
            Sampler(*sample.GetRasterBand(band), budget).Run(range);
        }
    }
    if (range.IsThere()) {
        plan.m_low = range.m_low;
        plan.m_high = range.m_high;
    }
}

} // namespace KxC
