// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "KxMath.h"
#include "KxTileFetcher.h"
#include "TileNumbers.h"

#include <array>
#include <charconv>
#include <exception>
#include <string>

namespace KxC {

namespace {

/// Appends a number as "%f" prints it in the "C" locale, whatever the process's locale is.
void AppendLine(std::string& text, double value)
{
    // The largest double has 309 digits before the point.
    std::array<char, 400> digits{};
    const auto end = std::to_chars(
        digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 6);
    text.append(digits.data(), end.ptr);
    text += '\n';
}

/// Readers of these files take sizes of single precision: that is what has always been written.
double RoundToSingle(double value)
{
    return static_cast<double>(static_cast<float>(value));
}

std::string WorldFileText(const KxRect2d& bounds, int tileSize)
{
    std::string text;
    AppendLine(text, RoundToSingle(bounds.Width() / tileSize));
    text += "0\n0\n";
    AppendLine(text, -RoundToSingle(bounds.Height() / tileSize));
    AppendLine(text, bounds.m_dLeft);
    AppendLine(text, bounds.m_dTop);
    return text;
}

} // namespace

KxString KxTileFetcher::ImgExt2WorldFileExt(const KxString& imageExt)
{
    struct Pair
    {
        const char* m_pImage;
        const char* m_pWorld;
    };
    static constexpr std::array<Pair, 5> kPairs{
        {{".jpeg", "jgw"}, {".png", "pgw"}, {".jpg", "jgw"}, {".png8", "jgw"}, {".tif", "tfw"}}};
    for (const Pair& pair : kPairs)
        if (imageExt.CompareNoCase(pair.m_pImage) == 0)
            return pair.m_pWorld;
    return "";
}

void KxTileFetcher::WriteWorldFile(const KxString& worldFilePath, int x, int y, int z, int tileSize)
try {
    if (!IsTileLevel(z))
        return;
    KxRect2d bounds;
    KxMath::CalcWMTileBounds(bounds, z, y, x, 0);
    const std::string text = WorldFileText(bounds, tileSize);
    KxFile::SaveWhole(
        worldFilePath, reinterpret_cast<const unsigned char*>(text.data()), text.size());
} catch (const std::exception&) {
    // A tile is good without its world file.
}

} // namespace KxC
