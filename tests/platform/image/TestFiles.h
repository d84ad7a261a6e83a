// SPDX-License-Identifier: MIT
#pragma once

// Pictures for tests, and image files made and read by the format libraries themselves, so that
// the library under test is never compared with itself.

#include "KxImageData.h"
#include "support/TempFolder.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace KxC::ImageTest {

using Bytes = std::vector<unsigned char>;

/// Pixels with row 0 at the north edge, as image files have them.
struct NorthUp
{
    int width = 0;
    int height = 0;
    int channels = 0;
    Bytes pixels;

    unsigned char* At(int row, int column);
    const unsigned char* At(int row, int column) const;
};

/// Every pixel tells its column and row: one that is shifted or flipped shows.
NorthUp Graded(int width, int height, int channels);
/// Smooth waves, that lossy formats keep well.
NorthUp Smooth(int width, int height, int channels);
/// A picture of few colours.
NorthUp Patches(int width, int height, int channels, int colours);

NorthUp FromImage(const KxImageData& image);
std::unique_ptr<KxImageData> ToImage(const NorthUp& picture, int rowBytes = 0);
/// The rows from the south, without padding.
Bytes SouthUpPixels(const NorthUp& picture);
/// Greatest difference of any byte; 256 where the sizes differ.
int MaxDifference(const NorthUp& a, const NorthUp& b);

struct PngOptions
{
    int colourType;           ///< PNG_COLOR_TYPE_*
    int bitDepth = 8;         ///< of a sample
    bool interlaced = false;  ///<
    Bytes palette = {};       ///< R, G, B each
    Bytes paletteAlpha = {};  ///< tRNS of a palette
    int transparentGrey = -1; ///< tRNS of grey and, for all three channels, of RGB
    bool withText = false;    ///< a compressed text chunk, before and after the pixels
};
/// @param packedRow  fills a row (from the north) of samples as PNG packs them
Bytes PngFile(int width,
              int height,
              const PngOptions& options,
              const std::function<void(int row, unsigned char* packed)>& packedRow);
Bytes PngFile(const NorthUp& picture);

enum class JpegKind { Colour, Progressive, OddSampling, Grey, Cmyk, AdobeCmyk };
/// @param picture  4 channels of ink for the CMYK kinds, 1 for grey, 3 else
Bytes JpegFile(const NorthUp& picture, JpegKind kind, int quality, bool restarts = false);

Bytes WebpFile(const NorthUp& picture, bool lossless);

struct GifOptions
{
    int screenWidth, screenHeight;
    int left = 0, top = 0;
    bool interlaced = false;
    int transparentIndex = -1;
    int frames = 1;
    bool localColours = false;
};
/// @param indices  1 channel of palette indices; colour i is (i, 255 - i, 2 i mod 256)
Bytes GifFile(const NorthUp& indices, const GifOptions& options);

NorthUp ReadPng(const Bytes& file);
NorthUp ReadJpeg(const Bytes& file);
NorthUp ReadWebp(const Bytes& file);
NorthUp ReadTiff(const Bytes& file);

/// Colour type byte of a PNG's header.
int PngColourType(const Bytes& file);

Bytes FileBytes(const std::string& path);

/// A new empty folder, gone with the object.
class TemporaryFolder
{
public:
    std::string Path(const std::string& name) const { return m_folder.File(name); }
    std::vector<std::string> Names() const;

private:
    TempFolder m_folder;
};

} // namespace KxC::ImageTest
