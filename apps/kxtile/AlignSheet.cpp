// SPDX-License-Identifier: MIT
#include "AlignSheet.h"

#include "Canvas.h"
#include "Font.h"
#include "GraticuleOverlay.h"

#include <cstdlib>

namespace KxTileHost {

namespace {

constexpr Colour kSheetGround{38, 42, 48};
constexpr Colour kInk{245, 245, 245};
constexpr Colour kDetailInk{170, 178, 190};
constexpr Colour kDivider{255, 220, 0};

// Pixels.
constexpr int kMargin = 14;
constexpr int kSide = ViewFrame::kSide;
constexpr int kTitleHeight = 42;
constexpr int kCaptionHeight = 20;
constexpr int kPanels = 4;
constexpr int kRowHeight = kTitleHeight + kSide + kCaptionHeight + kMargin;
constexpr int kWidth = kPanels * (kSide + kMargin) + kMargin;

/// A view's bytes are without gaps: rows of kSide pixels, 3 bytes each.
constexpr std::size_t kViewBytes = std::size_t{3} * kSide * kSide;

std::unique_ptr<KxC::KxImageData> Difference(const SourceView& one, const SourceView& other)
{
    auto image = std::make_unique<KxC::KxImageData>(kSide, kSide, KxC::KxPixelFormat_RGB);
    const unsigned char* const a = one.m_image->GetData();
    const unsigned char* const b = other.m_image->GetData();
    for (std::size_t i = 0; i < kViewBytes; ++i)
        image->GetData()[i] = static_cast<unsigned char>(std::abs(a[i] - b[i]));
    return image;
}

/// The left half of one view and the right half of the other.
std::unique_ptr<KxC::KxImageData> Halves(const SourceView& left, const SourceView& right)
{
    auto image = std::make_unique<KxC::KxImageData>(kSide, kSide, KxC::KxPixelFormat_RGB);
    for (std::size_t i = 0; i < kViewBytes; ++i) {
        const bool inLeft = i / 3 % kSide < kSide / 2;
        image->GetData()[i] = (inLeft ? left : right).m_image->GetData()[i];
    }
    return image;
}

/// One row of the sheet.
class RowDrawing
{
public:
    RowDrawing(Canvas& canvas, int top, const GraticuleOverlay& graticule)
        : m_canvas(canvas), m_top(top), m_graticule(graticule)
    {
    }

    void Draw(const AlignRow& row)
    {
        m_canvas.Write(kMargin, m_top, kWidth - 2 * kMargin, 2, row.m_name, kInk);
        m_canvas.Write(kMargin, m_top + 22, kWidth - 2 * kMargin, 1, row.m_detail, kDetailInk);
        DrawPanel(0, *row.m_asItComes.m_image, "AS IT COMES");
        DrawGraticule(0, row.m_asItComes.m_frame);
        DrawPanel(1, *row.m_aligned.m_image, "ALIGNED");
        DrawGraticule(1, row.m_aligned.m_frame);
        DrawPanel(
            2, *Halves(row.m_unshifted, row.m_aligned), "LEFT WITHOUT DATUM SHIFT, RIGHT ALIGNED");
        m_canvas.Fill(LeftOf(2) + kSide / 2, PanelTop(), 1, kSide, kDivider);
        DrawGraticule(2, row.m_aligned.m_frame);
        DrawPanel(3, *Difference(row.m_unshifted, row.m_aligned), "DIFFERENCE OF THESE TWO");
    }

private:
    static int LeftOf(int panel) { return kMargin + panel * (kSide + kMargin); }
    int PanelTop() const { return m_top + kTitleHeight; }

    void DrawPanel(int panel, const KxC::KxImageData& image, const char* caption)
    {
        m_canvas.Place(LeftOf(panel), PanelTop(), kSide, image, kSheetGround);
        m_canvas.Write(LeftOf(panel), PanelTop() + kSide + 6, kSide, 1, caption, kDetailInk);
    }

    void DrawGraticule(int panel, const ViewFrame& frame)
    {
        m_graticule.Draw(m_canvas, LeftOf(panel), PanelTop(), frame);
    }

    Canvas& m_canvas;
    int m_top;
    const GraticuleOverlay& m_graticule;
};

} // namespace

double MeanDifference(const SourceView& one, const SourceView& other)
{
    const auto difference = Difference(one, other);
    long long sum = 0;
    for (std::size_t i = 0; i < kViewBytes; ++i)
        sum += difference->GetData()[i];
    return static_cast<double>(sum) / static_cast<double>(kViewBytes);
}

std::unique_ptr<KxC::KxImageData> DrawAlignSheet(const std::vector<AlignRow>& rows,
                                                 const GeoPoint& place)
{
    const int count = static_cast<int>(rows.size());
    auto sheet = std::make_unique<KxC::KxImageData>(
        kWidth, count * kRowHeight + kMargin, KxC::KxPixelFormat_RGB);
    if (rows.empty() || sheet->GetData() == nullptr)
        return nullptr;
    Canvas canvas(*sheet);
    canvas.Fill(0, 0, sheet->GetWidth(), sheet->GetHeight(), kSheetGround);
    // All rows show the same lines, so that they can be compared.
    const GraticuleOverlay graticule(rows.front().m_aligned.m_frame, place);
    int top = kMargin;
    for (const AlignRow& row : rows) {
        RowDrawing(canvas, top, graticule).Draw(row);
        top += kRowHeight;
    }
    return sheet;
}

} // namespace KxTileHost
