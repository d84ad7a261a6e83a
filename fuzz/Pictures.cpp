// SPDX-License-Identifier: MIT
// What a tile service answers with: gzip streams and pictures.
#include "FuzzTarget.h"
#include "KxCompress.h"
#include "KxImgUtility.h"

#include <array>
#include <memory>
#include <vector>

namespace {

using namespace KxC;

constexpr std::size_t kMaxInput = 65536;

void Inflate(const std::uint8_t* bytes, unsigned int size)
{
    // Small room too: whatever the stream says of its size.
    for (const unsigned int room : {0U, 100U, 2 * size}) {
        std::vector<unsigned char> output(room);
        unsigned int written = room;
        const int result = KxCompress::GZipDecompress(bytes, size, output.data(), written);
        Fuzz::Require(written <= room, "nothing is written past the room");
        Fuzz::Require(result == 0 || written == 0, "a failure writes nothing");
    }
}

/// Reads every row's ends, so that a picture smaller than it says is noticed.
void LookAt(const KxImageData& image)
{
    const long long pixels = static_cast<long long>(image.GetWidth()) * image.GetHeight();
    Fuzz::Require(pixels > 0 && pixels <= KxImageData::kMaxPixels, "a picture within the limits");
    std::array<unsigned char, 4> pixel{};
    for (const double v : {0.0, 0.5, 0.999999999})
        for (const double u : {0.0, 0.5, 0.999999999})
            Fuzz::Require(image.GetValue2(u, v, pixel.data(), image.GetPixelSize()) != 0,
                          "every place of a picture has a pixel");
}

void Decode(const std::uint8_t* bytes, unsigned int size, const KxString& hint)
{
    KxImgUtility::IsCompletedImage(bytes, size, hint);
    const std::unique_ptr<KxImageData> image(KxImgUtility::LoadImageData(bytes, size, hint, 0, 0));
    if (image == nullptr)
        return;
    Fuzz::Require(KxImgUtility::TellImgExt(bytes, size).IsEmpty() == 0,
                  "what decodes has a signature");
    LookAt(*image);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size > kMaxInput)
        return -1;
    const auto count = static_cast<unsigned int>(size);
    Inflate(bytes, count);
    Decode(bytes, count, "");
    KxImgUtility::IsCompletedImage(bytes, count, ".png");
    return 0;
}
