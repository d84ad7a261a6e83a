// SPDX-License-Identifier: MIT
#pragma once

#include "MallocBuffer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace KxC::Http {

/// Takes an answer in as it arrives and stops it where it leaves its bounds. Never throws: it is
/// called from C.
class AnswerReceiver
{
public:
    static constexpr std::uint64_t kMaxBodyBytes = std::uint64_t{64} << 20;
    /// Bounds of all header lines of a request, those of redirects and trailers included.
    static constexpr std::size_t kMaxHeaderBytes = std::size_t{256} << 10;
    static constexpr std::size_t kMaxHeaderLines = 1000;
    /// Bytes of an error page that are read, only to keep the connection.
    static constexpr std::uint64_t kMaxErrorPageBytes = std::uint64_t{256} << 10;

    /// Why the receiver wants no more.
    enum class Stop { None, TooManyHeaders, BodyTooLarge, ErrorPageTooLarge, NoMemory };

    /// One header line with its line end; a status line starts a new answer.
    /// @return false to break the transfer off
    bool OnHeaderLine(std::string_view line) noexcept;
    /// Gets ready for the answer of the place that a redirect named. The bounds of all header
    /// lines go on; the status stays until that answer begins.
    void AwaitNext() noexcept;
    /// @return false to break the transfer off
    bool OnBody(const char* bytes, std::size_t count) noexcept;

    Stop WhyStopped() const { return m_stop; }
    /// Status of the last answer whose head began, 0 when none did.
    int Status() const { return m_status; }
    /// Whether an answer began that is more than an interim one (1xx).
    bool HasBegun() const { return m_hasBegun; }
    /// Whether the head of that answer is complete.
    bool HasHead() const { return m_hasHead; }
    std::uint64_t BytesReceived() const { return m_bytesReceived; }
    MallocBuffer TakeBody();

private:
    void BeginAnswer(std::string_view statusLine) noexcept;
    bool EndHead() noexcept;
    bool Break(Stop why) noexcept;
    bool WantsBody() const { return m_status >= 200 && m_status < 300; }

    Stop m_stop = Stop::None;
    int m_status = 0;
    bool m_hasBegun = false;
    bool m_hasHead = false;
    std::size_t m_headerBytes = 0;
    std::size_t m_headerLines = 0;
    std::uint64_t m_promisedBytes = 0;
    std::uint64_t m_bytesReceived = 0;
    MallocBuffer m_body;
};

} // namespace KxC::Http
