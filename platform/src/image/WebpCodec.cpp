// SPDX-License-Identifier: MIT
#include "ImageCodecs.h"

#include <webp/decode.h>
#include <webp/encode.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace KxC::Imaging {

namespace {

// Measured in docs/decisions/0001-tile-encoders.md.
constexpr float kTileQuality = 80;
constexpr int kTileMethod = 1;
constexpr float kKeepQuality = 90;
constexpr int kKeepMethod = 4;

class Picture
{
public:
    Picture() : m_valid(WebPPictureInit(&m_picture) != 0) {}
    ~Picture() { WebPPictureFree(&m_picture); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    bool IsValid() const { return m_valid; }
    WebPPicture& Get() { return m_picture; }

private:
    WebPPicture m_picture = {};
    bool m_valid;
};

/// Where the encoder's output collects.
struct Output
{
    Encoded encoded;
    std::size_t capacity = 0;
};

bool Grow(Output& output, std::size_t wanted)
{
    constexpr std::size_t kFirst = 32768;
    const std::size_t capacity = std::max({wanted, 2 * output.capacity, kFirst});
    void* grown = std::realloc(output.encoded.bytes.get(), capacity);
    if (grown == nullptr)
        return false;
    static_cast<void>(output.encoded.bytes.release());
    output.encoded.bytes.reset(static_cast<unsigned char*>(grown));
    output.capacity = capacity;
    return true;
}

int WriteOutput(const std::uint8_t* bytes, std::size_t count, const WebPPicture* picture)
{
    Output& output = *static_cast<Output*>(picture->custom_ptr);
    const std::size_t wanted = output.encoded.size + count;
    if (wanted > output.capacity && !Grow(output, wanted))
        return 0;
    if (count > 0)
        std::memcpy(output.encoded.bytes.get() + output.encoded.size, bytes, count);
    output.encoded.size = wanted;
    return 1;
}

bool Configure(WebPConfig& config, Purpose purpose)
{
    const bool keep = purpose == Purpose::Keep;
    if (WebPConfigInit(&config) == 0)
        return false;
    config.quality = keep ? kKeepQuality : kTileQuality;
    config.method = keep ? kKeepMethod : kTileMethod;
    return WebPValidateConfig(&config) != 0;
}

/// A negative stride lets the encoder start at the north row.
bool Import(WebPPicture& picture, const PixelRows& rows)
{
    const unsigned char* northRow = rows.RowFromNorth(0);
    const int stride = -static_cast<int>(rows.rowBytes);
    picture.width = rows.width;
    picture.height = rows.height;
    return (rows.pixelSize == 4 ? WebPPictureImportRGBA(&picture, northRow, stride)
                                : WebPPictureImportRGB(&picture, northRow, stride)) != 0;
}

} // namespace

std::unique_ptr<KxImageData> DecodeWebp(ByteSpan bytes)
{
    WebPDecoderConfig config;
    // An animation has no one picture to answer with, and no map service sends one.
    if (WebPInitDecoderConfig(&config) == 0 ||
        WebPGetFeatures(bytes.data(), bytes.size(), &config.input) != VP8_STATUS_OK ||
        config.input.has_animation != 0)
        return nullptr;
    auto picture = NewPicture(config.input.width, config.input.height, config.input.has_alpha != 0);
    if (picture == nullptr)
        return nullptr;
    config.options.flip = 1;
    config.output.colorspace = config.input.has_alpha != 0 ? MODE_RGBA : MODE_RGB;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = picture->GetData();
    config.output.u.RGBA.stride = picture->GetRowBytes();
    config.output.u.RGBA.size = static_cast<std::size_t>(picture->GetRowBytes()) *
                                static_cast<std::size_t>(picture->GetHeight());
    const VP8StatusCode status = WebPDecode(bytes.data(), bytes.size(), &config);
    WebPFreeDecBuffer(&config.output);
    return status == VP8_STATUS_OK ? std::move(picture) : nullptr;
}

Encoded EncodeWebp(const PixelRows& rows, Purpose purpose)
{
    Picture picture;
    WebPConfig config;
    Output output;
    if (!picture.IsValid() || std::max(rows.width, rows.height) > WEBP_MAX_DIMENSION ||
        !Configure(config, purpose) || !Import(picture.Get(), rows))
        return {};
    picture.Get().writer = WriteOutput;
    picture.Get().custom_ptr = &output;
    if (WebPEncode(&config, &picture.Get()) == 0)
        return {};
    ShrinkToSize(output.encoded);
    return std::move(output.encoded);
}

} // namespace KxC::Imaging
