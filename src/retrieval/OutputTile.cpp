// SPDX-License-Identifier: MIT
#include "OutputTile.h"

#include "KxImgUtility.h"
#include "TileNumbers.h"

#include <new>
#include <utility>

namespace KxC {

bool IsOutputSize(int tileSize)
{
    return IsTileSize(tileSize) &&
           static_cast<long long>(tileSize) * tileSize <= KxImageData::kMaxPixels;
}

bool KeepsAlpha(const KxString& imageFormat)
{
    return imageFormat.IsEmpty() != 0 || imageFormat.Right(3).CompareNoCase("png") == 0;
}

std::unique_ptr<KxImageData> NewOutputImage(int tileSize, bool withAlpha)
{
    std::unique_ptr<KxImageData> image(new (std::nothrow) KxImageData(
        tileSize, tileSize, withAlpha ? KxPixelFormat_RGBA : KxPixelFormat_RGB));
    return image != nullptr && image->GetData() != nullptr ? std::move(image) : nullptr;
}

std::unique_ptr<KxRawData> EncodeOutput(const KxImageData& image)
{
    std::unique_ptr<KxRawData> encoded(new (std::nothrow) KxRawData);
    if (encoded == nullptr)
        return nullptr;
    encoded->SetExt(image.GetPixelSize() == 4 ? ".png" : ".jpeg");
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    KxImgUtility::SaveImageToMemory(image.GetData(),
                                    image.GetWidth(),
                                    image.GetHeight(),
                                    image.GetPixelSize() * 8,
                                    bytes,
                                    size,
                                    encoded->GetExt(),
                                    0);
    encoded->Attach(bytes, size);
    return encoded;
}

} // namespace KxC
