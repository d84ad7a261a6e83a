// SPDX-License-Identifier: MIT
#include "ImagePacket.h"

#include "Cipher.h"
#include "EarthErrors.h"
#include "PictureBytes.h"
#include "WireReader.h"

#include <cstring>

namespace KxC::Earth {

namespace {

enum WrapperField : std::uint32_t {
    kImageType = 1,
    kImageData = 2,
    kAlphaType = 3,
    kAlphaData = 4,
};
constexpr std::uint64_t kAlphaPng = 1; // the other kinds have no public description

ByteView ViewOf(const KxRawData& data)
{
    return {data.GetData(), data.GetSize()};
}

bool IsWrapped(ByteView bytes)
try {
    ReadWrappedImage(bytes);
    return true;
} catch (const DamagedAnswer&) {
    return false;
}

/// Replaces the packet by a part of it.
void KeepOnly(KxRawData& packet, ByteView part)
{
    unsigned char* const bytes = packet.Detach();
    std::memmove(bytes, part.data(), part.size());
    packet.Attach(bytes, static_cast<unsigned int>(part.size()));
}

void Unwrap(KxRawData& packet)
{
    const WrappedImage wrapped = ReadWrappedImage(ViewOf(packet));
    if (wrapped.m_alpha.empty())
        KeepOnly(packet, wrapped.m_image);
    else
        JoinAlpha(packet, wrapped.m_image, wrapped.m_alpha);
}

/// @return whether the packet was a picture, plain or wrapped; it is the picture now
bool TakePicture(KxRawData& packet)
{
    if (IsPicture(ViewOf(packet)))
        return true;
    if (!IsWrapped(ViewOf(packet)))
        return false;
    Unwrap(packet);
    return true;
}

} // namespace

WrappedImage ReadWrappedImage(ByteView packet)
{
    WrappedImage wrapped;
    ByteView alpha;
    std::uint64_t alphaType = 0;
    WireReader reader(packet);
    for (WireField field; reader.Next(field);) {
        if (field.Is(kImageData, WireType::Bytes))
            wrapped.m_image = field.m_bytes;
        if (field.Is(kAlphaType, WireType::Number))
            alphaType = field.m_value;
        if (field.Is(kAlphaData, WireType::Bytes))
            alpha = field.m_bytes;
    }
    // The stated image type says less than the bytes do.
    if (!IsPicture(wrapped.m_image))
        throw DamagedAnswer("an image packet holds neither a JPEG nor a PNG");
    if (alphaType == kAlphaPng)
        wrapped.m_alpha = alpha;
    return wrapped;
}

bool OpenImage(KxRawData& packet, ByteView key)
{
    if (TakePicture(packet))
        return true;
    const std::span<unsigned char> bytes(packet.GetData(), packet.GetSize());
    ApplyKey(bytes, key);
    if (TakePicture(packet))
        return true;
    ApplyKey(bytes, key);
    return false;
}

} // namespace KxC::Earth
