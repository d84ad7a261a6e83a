// SPDX-License-Identifier: MIT
#include "TileRequest.h"

namespace KxC {

NetError RequestTile(KxRawData& body,
                     const KxTSDParamItem& source,
                     const KxString& url,
                     const KxString& userAgent,
                     int requestParam)
{
    constexpr int kMethodGet = 0;
    constexpr int kFileTypeImage = 1;
    return KxNetGetch::RequestData(body,
                                   url,
                                   "",
                                   "",
                                   kMethodGet,
                                   kFileTypeImage,
                                   requestParam,
                                   userAgent,
                                   &source.m_arrRequestHeaders);
}

} // namespace KxC
