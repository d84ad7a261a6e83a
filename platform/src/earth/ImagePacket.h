// SPDX-License-Identifier: MIT
#pragma once

#include "Bytes.h"
#include "KxRawData.h"

namespace KxC::Earth {

/// The parts of a wrapped image.
struct WrappedImage
{
    ByteView m_image;
    ByteView m_alpha; ///< a PNG to be laid over it, empty for none
};

/// Reads the protobuf envelope of an image.
/// @throws DamagedAnswer when it is none, or holds an image of a form that is not supported
WrappedImage ReadWrappedImage(ByteView packet);

/// Turns an image packet into the JPEG or PNG within, in place: decrypted unless it came
/// unencrypted, unwrapped where it is wrapped, joined with its alpha where it has one (a PNG then).
/// @return false when it is no image under this key; the bytes are then as they came
/// @throws DamagedAnswer, std::bad_alloc
bool OpenImage(KxRawData& packet, ByteView key);

} // namespace KxC::Earth
