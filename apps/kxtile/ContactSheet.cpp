// SPDX-License-Identifier: MIT
#include "ContactSheet.h"

#include "Canvas.h"
#include "Font.h"

#include <algorithm>

namespace KxTileHost {

namespace {

constexpr Colour kGround{38, 42, 48};
constexpr Colour kEmpty{64, 68, 76};
constexpr Colour kTitleInk{245, 245, 245};
constexpr Colour kDetailInk{170, 178, 190};

// Pixels.
constexpr int kPanelSide = 256;
constexpr int kMargin = 14;
constexpr int kTitleScale = 2;
constexpr int kDetailScale = 1;
constexpr int kCaptionHeight = 38;
constexpr int kCellWidth = kPanelSide + kMargin;
constexpr int kCellHeight = kPanelSide + kCaptionHeight;
constexpr int kMaxColumns = 3;

void DrawPanel(Canvas& canvas, int left, int top, const SheetPanel& panel)
{
    canvas.Fill(left, top, kPanelSide, kPanelSide, kEmpty);
    if (panel.m_image != nullptr)
        canvas.Place(left, top, kPanelSide, *panel.m_image, kEmpty);
    const int titleTop = top + kPanelSide + 6;
    canvas.Write(left, titleTop, kPanelSide, kTitleScale, panel.m_title, kTitleInk);
    const int detailTop = titleTop + KxDrawing::kGlyphHeight * kTitleScale + 4;
    canvas.Write(left, detailTop, kPanelSide, kDetailScale, panel.m_detail, kDetailInk);
}

} // namespace

std::unique_ptr<KxC::KxImageData> DrawContactSheet(const std::vector<SheetPanel>& panels)
{
    const int count = static_cast<int>(panels.size());
    const int columns = std::clamp(count, 1, kMaxColumns);
    const int rows = std::max((count + columns - 1) / columns, 1);
    auto sheet = std::make_unique<KxC::KxImageData>(
        columns * kCellWidth + kMargin, rows * kCellHeight + kMargin, KxC::KxPixelFormat_RGB);
    if (sheet->GetData() == nullptr)
        return nullptr;
    Canvas canvas(*sheet);
    canvas.Fill(0, 0, sheet->GetWidth(), sheet->GetHeight(), kGround);
    for (int i = 0; i < count; ++i)
        DrawPanel(canvas,
                  kMargin + i % columns * kCellWidth,
                  kMargin + i / columns * kCellHeight,
                  panels[static_cast<std::size_t>(i)]);
    return sheet;
}

} // namespace KxTileHost
