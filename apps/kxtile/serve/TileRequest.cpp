// SPDX-License-Identifier: MIT
#include "serve/TileRequest.h"

namespace KxTileHost::Serve {

const char* ExtensionOf(TileFormat format)
{
    switch (format) {
    case TileFormat::Png:
        return "png";
    case TileFormat::Jpeg:
        return "jpg";
    case TileFormat::WebP:
        return "webp";
    case TileFormat::Natural:
        break;
    }
    return "";
}

const char* MimeOf(TileFormat format)
{
    switch (format) {
    case TileFormat::Png:
        return "image/png";
    case TileFormat::Jpeg:
        return "image/jpeg";
    case TileFormat::WebP:
        return "image/webp";
    case TileFormat::Natural:
        break;
    }
    return "";
}

} // namespace KxTileHost::Serve
