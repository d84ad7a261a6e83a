// SPDX-License-Identifier: MIT
#pragma once

// The compressed streams of PNG and TIFF.

#include "ImageCodecs.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace KxC::Imaging {

/// Room that ZlibCompress needs for `count` bytes.
std::size_t ZlibBound(std::size_t count);
/// Writes a zlib stream of the bytes, quickly.
/// @return its length, 0 when it did not fit or memory ran out
std::size_t ZlibCompress(ByteSpan bytes, std::span<unsigned char> out);
std::uint32_t Crc32(ByteSpan bytes);

/// A zlib stream that comes out as its bytes go in, well compressed.
class ZlibStream
{
public:
    ZlibStream();
    ~ZlibStream();
    ZlibStream(const ZlibStream&) = delete;
    ZlibStream& operator=(const ZlibStream&) = delete;

    /// Takes bytes in; what is ready to come out goes to `take`, in pieces of at most 64 KiB.
    /// @param isEnd  with the last bytes: all comes out then
    /// @param take   (ByteSpan) -> false to give up
    /// @return false when `take` gave up or memory ran out
    template <typename Take>
    bool Write(ByteSpan bytes, bool isEnd, Take take)
    {
        Begin(bytes, isEnd);
        bool goesOn = true;
        while (goesOn) {
            const ByteSpan ready = Next(goesOn);
            if (m_failed || (!ready.empty() && !take(ready)))
                return false;
        }
        return true;
    }

private:
    struct State;

    void Begin(ByteSpan bytes, bool isEnd);
    /// @param goesOn  receives whether there is more to come
    ByteSpan Next(bool& goesOn);

    std::unique_ptr<State> m_state;
    bool m_failed = false;
};

} // namespace KxC::Imaging
