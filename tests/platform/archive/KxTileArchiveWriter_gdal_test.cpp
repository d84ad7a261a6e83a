// SPDX-License-Identifier: MIT
#include "ArchiveFiles.h"
#include "KxImageData.h"
#include "KxImgUtility.h"
#include "KxTileArchiveWriter.h"
#include "support/TempFolder.h"
#include "support/TilePictures.h"

#include <gtest/gtest.h>

#include <memory>

namespace KxC {

namespace {

using namespace Test;

unsigned int ColourAt(const KxImageData& image, int row, int col)
{
    const unsigned char* const pixel =
        image.GetData() + row * image.GetRowBytes() + col * image.GetPixelSize();
    return static_cast<unsigned int>(pixel[0] << 16 | pixel[1] << 8 | pixel[2]);
}

TEST(KxTileArchiveWriter, WritesADatabaseThatGdalReadsPixelForPixel)
{
    const TempFolder folder;
    const std::string path = folder.File("tiles.mbtiles");
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(path.c_str(), KxTileArchiveFormat_MBTiles, {"places", "", ""}));
    // Columns 1 to 3, rows 1 and 2 of level 2, and a level above it.
    for (int row = 1; row <= 2; ++row)
        for (int col = 1; col <= 3; ++col)
            ASSERT_TRUE(AddTile(writer, 2, row, col, TilePictures::PngOfPlace(row, col)));
    for (const int row : {0, 1})
        for (const int col : {0, 1})
            ASSERT_TRUE(AddTile(writer, 1, row, col, TilePictures::PngOf(1, 2, 3)));
    ASSERT_TRUE(writer.Finish()) << writer.GetError().Cstr();
    ASSERT_TRUE(RunProgram(std::string(KX_GDAL_TRANSLATE) + " -q -of PNG -b 1 -b 2 -b 3 '" + path +
                           "' '" + folder.File("gdal.png") + "'"));
    const std::string png = ReadFile(folder.File("gdal.png"));
    const std::unique_ptr<KxImageData> image(
        KxImgUtility::LoadImageData(reinterpret_cast<const unsigned char*>(png.data()),
                                    static_cast<unsigned int>(png.size()),
                                    ".png",
                                    0,
                                    0));
    ASSERT_NE(image, nullptr);
    ASSERT_EQ(image->GetWidth(), 3 * 256);
    ASSERT_EQ(image->GetHeight(), 2 * 256);
    for (int row = 0; row < 512; ++row)
        for (int col = 0; col < 768; ++col)
            ASSERT_EQ(ColourAt(*image, row, col), TilePictures::ColourOfPlace(256 + col, 256 + row))
                << "row " << row << " column " << col;
}

} // namespace

} // namespace KxC
