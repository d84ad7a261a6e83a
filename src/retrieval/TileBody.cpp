// SPDX-License-Identifier: MIT
#include "TileBody.h"

#include "KxCompress.h"
#include "KxImgUtility.h"

#include <cstdlib>
#include <limits>

namespace KxC {

bool IsGzipSource(const KxTSDParamItem& source)
{
    return source.m_strImageFormat.Right(4).CompareNoCase("gzip") == 0;
}

bool InflateBody(const KxRawData& body, KxRawData& inflated)
{
    if (body.GetSize() > std::numeric_limits<unsigned int>::max() / 2)
        return false;
    unsigned int size = 2 * body.GetSize();
    auto* bytes = static_cast<unsigned char*>(std::malloc(size));
    if (bytes == nullptr)
        return false;
    if (KxCompress::GZipDecompress(body.GetData(), body.GetSize(), bytes, size) != 0) {
        std::free(bytes);
        return false;
    }
    inflated.Attach(bytes, size);
    return true;
}

bool IsWholeImage(const KxRawData& bytes)
{
    return KxImgUtility::IsCompletedImage(bytes.GetData(), bytes.GetSize(), "") != 0;
}

std::unique_ptr<KxImageData> DecodeImage(const KxRawData& bytes)
{
    return std::unique_ptr<KxImageData>(
        KxImgUtility::LoadImageData(bytes.GetData(), bytes.GetSize(), "", 1, 1));
}

} // namespace KxC
