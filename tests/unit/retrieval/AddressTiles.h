// SPDX-License-Identifier: MIT
/// Tiles whose every pixel says where it is from, so that one shifted or flipped pixel shows.
#pragma once

#include "KxImgUtility.h"
#include "RetrievalFixture.h"
#include "TileAddress.h"

#include <array>
#include <cstdlib>
#include <memory>

namespace KxC::Testing {

using Pixel = std::array<int, 4>;

inline constexpr Pixel kNoPixel = {0, 0, 0, 0};

/// The pixel in a row and column of a tile, rows from the south.
inline Pixel AddressPixel(const SourceTile& tile, int row, int column)
{
    const int place = (tile.m_row % 15) * 16 + tile.m_col % 16;
    return {column % 256, row % 256, place, 255 - column / 256 - 16 * (row / 256)};
}

inline std::unique_ptr<KxImageData>
AddressImage(const SourceTile& tile, int size, int pixelSize = 4)
{
    auto image = std::make_unique<KxImageData>(
        size, size, pixelSize == 4 ? KxPixelFormat_RGBA : KxPixelFormat_RGB);
    // Written out instead of by AddressPixel: sweeps make thousands of them without optimisation.
    const int place = AddressPixel(tile, 0, 0)[2];
    unsigned char* to = image->GetData();
    for (int row = 0; row < size; ++row)
        for (int column = 0; column < size; ++column, to += pixelSize) {
            to[0] = static_cast<unsigned char>(column);
            to[1] = static_cast<unsigned char>(row);
            to[2] = static_cast<unsigned char>(place);
            if (pixelSize == 4)
                to[3] = static_cast<unsigned char>(255 - column / 256 - 16 * (row / 256));
        }
    return image;
}

inline Bytes EncodePng(const KxImageData& image)
{
    unsigned char* data = nullptr;
    unsigned int size = 0;
    KxImgUtility::SaveImageToMemory(image.GetData(),
                                    image.GetWidth(),
                                    image.GetHeight(),
                                    image.GetPixelSize() * 8,
                                    data,
                                    size,
                                    ".png",
                                    0);
    Bytes bytes(data, data + size);
    std::free(data);
    return bytes;
}

inline Pixel PixelAt(const KxImageData& image, int row, int column)
{
    const unsigned char* at = image.GetData() +
                              static_cast<std::ptrdiff_t>(row) * image.GetRowBytes() +
                              static_cast<std::ptrdiff_t>(column) * image.GetPixelSize();
    return {at[0], at[1], at[2], image.GetPixelSize() == 4 ? at[3] : 255};
}

/// A scripted service of address tiles, and what came out.
class OutputTileTest : public RetrievalTest
{
protected:
    ~OutputTileTest() override { Out(); }

    static std::string Url(const SourceTile& tile)
    {
        return "http://s/" + std::to_string(tile.m_level) + "/" + std::to_string(tile.m_col) + "/" +
               std::to_string(tile.m_row);
    }

    void Serve(const SourceTile& tile, int size = 256, int pixelSize = 4)
    {
        m_service.Answer(
            Url(tile), NetError_Success, EncodePng(*AddressImage(tile, size, pixelSize)));
    }
    /// The same answer for rows and columns of a level, last ones included.
    void ServeNone(int level, int lastRow, int lastCol, NetError result = NetError_NoData)
    {
        for (int row = 0; row <= lastRow; ++row)
            for (int col = 0; col <= lastCol; ++col)
                m_service.Answer(Url({level, row, col}), result);
    }

    std::vector<std::string> Asked() const
    {
        std::vector<std::string> urls;
        for (const SentRequest& request : m_service.m_sent)
            urls.push_back(request.m_url);
        return urls;
    }

    /// Keeps what an operation made; the result is to be read afterwards.
    KxRawData*& NewOut()
    {
        Out();
        m_tile.reset();
        m_out = nullptr;
        return m_out;
    }
    const KxRawData* Out()
    {
        if (m_tile.get() != m_out)
            m_tile.reset(m_out);
        return m_tile.get();
    }
    std::string OutExt() { return Out() == nullptr ? "" : Out()->GetExt().Cstr(); }
    /// The made tile's pixels; the test fails where there is none.
    std::unique_ptr<KxImageData> Decoded()
    {
        const KxRawData* tile = Out();
        EXPECT_NE(tile, nullptr);
        if (tile == nullptr)
            return nullptr;
        return std::unique_ptr<KxImageData>(
            KxImgUtility::LoadImageData(tile->GetData(), tile->GetSize(), tile->GetExt(), 1, 1));
    }

private:
    KxRawData* m_out = nullptr;
    std::unique_ptr<KxRawData> m_tile;
};

} // namespace KxC::Testing
