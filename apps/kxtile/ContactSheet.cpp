// SPDX-License-Identifier: MIT
#include "ContactSheet.h"

#include "Font.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace KxTileHost {

namespace {

using Colour = std::array<unsigned char, 3>;

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

/// Draws on a picture with rows counted from the top.
class Canvas
{
public:
    explicit Canvas(KxC::KxImageData& image) : m_image(image) {}

    void Set(int column, int row, const Colour& colour)
    {
        m_image.SetValue(m_image.GetHeight() - 1 - row, column, colour.data(), 3);
    }

    void Fill(int left, int top, int width, int height, const Colour& colour)
    {
        for (int row = top; row < top + height; ++row)
            for (int column = left; column < left + width; ++column)
                Set(column, row, colour);
    }

    /// Draws a text, cut off at `width` pixels.
    void Write(int left, int top, int width, int scale, std::string_view text, const Colour& ink)
    {
        const int fitting = width / (KxDrawing::kGlyphAdvance * scale);
        text = text.substr(0, static_cast<std::size_t>(fitting));
        for (const char character : text) {
            for (int row = 0; row < KxDrawing::kGlyphHeight * scale; ++row)
                for (int column = 0; column < KxDrawing::kGlyphWidth * scale; ++column)
                    if (KxDrawing::HasInk(character, column / scale, row / scale))
                        Set(left + column, top + row, ink);
            left += KxDrawing::kGlyphAdvance * scale;
        }
    }

    /// Draws a picture scaled to a square; transparent pixels let the ground through.
    void Place(int left, int top, int side, const KxC::KxImageData& picture)
    {
        for (int row = 0; row < side; ++row)
            for (int column = 0; column < side; ++column) {
                std::array<unsigned char, 4> pixel{};
                const double u = (column + 0.5) / side;
                const double v = 1.0 - (row + 0.5) / side;
                if (picture.GetValue2(u, v, pixel.data(), 4) != 0)
                    Set(left + column, top + row, Blend(pixel));
            }
    }

private:
    static Colour Blend(const std::array<unsigned char, 4>& pixel)
    {
        Colour blended{};
        for (std::size_t i = 0; i < blended.size(); ++i)
            blended[i] = static_cast<unsigned char>(
                (pixel[i] * pixel[3] + kEmpty[i] * (255 - pixel[3])) / 255);
        return blended;
    }

    KxC::KxImageData& m_image;
};

void DrawPanel(Canvas& canvas, int left, int top, const SheetPanel& panel)
{
    canvas.Fill(left, top, kPanelSide, kPanelSide, kEmpty);
    if (panel.m_image != nullptr)
        canvas.Place(left, top, kPanelSide, *panel.m_image);
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
