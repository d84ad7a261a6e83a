// SPDX-License-Identifier: MIT
#include "BandPlan.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace KxC {

namespace {

constexpr int kMaxBands = 4096; ///< looked at for colours
constexpr int kMaxPalette = 65536;

unsigned char ToByte(int value)
{
    return static_cast<unsigned char>(std::clamp(value, 0, 255));
}

/// Number of the first band of an interpretation; 0 without one.
int BandOf(GDALDataset& dataset, GDALColorInterp interpretation)
{
    const int count = std::min(dataset.GetRasterCount(), kMaxBands);
    for (int band = 1; band <= count; ++band)
        if (dataset.GetRasterBand(band)->GetColorInterpretation() == interpretation)
            return band;
    return 0;
}

std::vector<int> ColourBands(GDALDataset& dataset)
{
    const std::vector<int> named = {BandOf(dataset, GCI_RedBand),
                                    BandOf(dataset, GCI_GreenBand),
                                    BandOf(dataset, GCI_BlueBand)};
    if (std::find(named.begin(), named.end(), 0) == named.end())
        return named;
    const int alpha = BandOf(dataset, GCI_AlphaBand);
    std::vector<int> first;
    for (int band = 1; band <= dataset.GetRasterCount() && first.size() < 3; ++band)
        if (band != alpha)
            first.push_back(band);
    if (first.size() == 2)
        first.resize(1); // two bands are no colours; the first shows something
    return first;
}

void TakePalette(const GDALColorTable& table, BandPlan& plan)
{
    plan.m_kind = BandPlan::Kind::Palette;
    const int count = std::min(table.GetColorEntryCount(), kMaxPalette);
    for (int i = 0; i < count; ++i) {
        GDALColorEntry entry = {};
        table.GetColorEntryAsRGB(i, &entry);
        plan.m_palette.push_back(
            {ToByte(entry.c1), ToByte(entry.c2), ToByte(entry.c3), ToByte(entry.c4)});
    }
}

/// Bands of fewer bits than a byte has count up to less than white.
void TakeFewBits(GDALRasterBand& band, BandPlan& plan)
{
    const char* text = band.GetMetadataItem("NBITS", "IMAGE_STRUCTURE");
    const int bits = text != nullptr ? std::atoi(text) : 8;
    if (bits < 1 || bits > 7 || plan.m_kind != BandPlan::Kind::Grey)
        return;
    plan.m_kind = BandPlan::Kind::Palette;
    const int last = (1 << bits) - 1;
    for (int i = 0; i <= last; ++i) {
        const unsigned char grey = ToByte(i * 255 / last);
        plan.m_palette.push_back({grey, grey, grey, 255});
    }
}

double AlphaScale(GDALDataType type)
{
    switch (type) {
    case GDT_Byte:
        return 1;
    case GDT_UInt16:
        return 255.0 / 65535;
    default:
        return 255; // 0 and 1
    }
}

void TakeTransparency(GDALDataset& dataset, BandPlan& plan)
{
    if (const int alpha = BandOf(dataset, GCI_AlphaBand); alpha != 0) {
        plan.m_hasAlpha = true;
        plan.m_bands.push_back(alpha);
        const GDALDataType type = dataset.GetRasterBand(alpha)->GetRasterDataType();
        plan.m_alphaScale = AlphaScale(type);
        plan.m_isByte = plan.m_isByte && type == GDT_Byte;
    }
    const int flags = dataset.GetRasterBand(plan.m_bands[0])->GetMaskFlags();
    plan.m_hasMask = (flags & (GMF_ALL_VALID | GMF_ALPHA)) == 0 && flags != GMF_NODATA;
}

void TakeNoData(GDALDataset& dataset, BandPlan& plan)
{
    plan.m_hasNoData = true;
    for (int i = 0; i < plan.m_colours; ++i) {
        const auto at = static_cast<std::size_t>(i);
        GDALRasterBand* band = dataset.GetRasterBand(plan.m_bands[at]);
        int isThere = 0;
        double value = band->GetNoDataValue(&isThere);
        if (band->GetRasterDataType() == GDT_Float32)
            value = static_cast<double>(static_cast<float>(value)); // as it is in the file
        plan.m_noData[at] = value;
        plan.m_hasNoData = plan.m_hasNoData && isThere != 0;
    }
}

} // namespace

bool BandPlan::IsOpaque() const
{
    const bool isFloat = !m_isByte; // may hold NaN
    const bool isPaletteOpaque =
        m_kind != Kind::Palette ||
        (m_palette.size() >= 256 && std::all_of(m_palette.begin(), m_palette.end(), [](Rgba entry) {
             return entry[3] == 255;
         }));
    return !m_hasAlpha && !m_hasMask && !m_hasNoData && !isFloat && isPaletteOpaque;
}

std::optional<BandPlan> MakeBandPlan(GDALDataset& dataset)
{
    BandPlan plan;
    plan.m_bands = ColourBands(dataset);
    if (plan.m_bands.empty())
        return {};
    plan.m_colours = static_cast<int>(plan.m_bands.size());
    plan.m_isByte = std::all_of(plan.m_bands.begin(), plan.m_bands.end(), [&](int band) {
        return dataset.GetRasterBand(band)->GetRasterDataType() == GDT_Byte;
    });
    GDALRasterBand* first = dataset.GetRasterBand(plan.m_bands[0]);
    if (plan.m_colours == 3)
        plan.m_kind = BandPlan::Kind::Colour;
    else if (const GDALColorTable* table = first->GetColorTable(); table != nullptr)
        TakePalette(*table, plan);
    else
        TakeFewBits(*first, plan);
    TakeTransparency(dataset, plan);
    TakeNoData(dataset, plan);
    return plan;
}

} // namespace KxC
