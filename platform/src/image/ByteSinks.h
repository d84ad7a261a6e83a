// SPDX-License-Identifier: MIT
#pragma once

// Where encoders put their bytes.

#include "ImageCodecs.h"
#include "KxWholeFile.h"

#include <cstdint>

namespace KxC::Imaging {

/// Takes encoded bytes as they are made. What lies between the places that were written is zero.
class ByteSink
{
public:
    virtual ~ByteSink() = default;

    /// @return false when there is no room
    virtual bool WriteAt(std::uint64_t place, ByteSpan bytes) = 0;
    /// How far has been written.
    virtual std::uint64_t Size() const = 0;

    /// Writes behind all that was written before.
    bool Write(ByteSpan bytes) { return WriteAt(Size(), bytes); }
};

/// Collects bytes in memory.
class MemorySink final : public ByteSink
{
public:
    /// Takes memory beforehand, so that it seldom has to grow.
    /// @return false when there is none
    bool Reserve(std::size_t wanted);
    bool WriteAt(std::uint64_t place, ByteSpan bytes) override;
    std::uint64_t Size() const override { return m_content.size; }

    /// What was written; this is empty then.
    Encoded Take();

private:
    Encoded m_content;
    std::size_t m_capacity = 0;
};

/// Writes into a seekable file.
class FileSink final : public ByteSink
{
public:
    /// @param file  must outlive this
    explicit FileSink(KxWholeFile& file) : m_file(file) {}
    bool WriteAt(std::uint64_t place, ByteSpan bytes) override;
    std::uint64_t Size() const override { return m_size; }

private:
    KxWholeFile& m_file;
    std::uint64_t m_size = 0;
};

} // namespace KxC::Imaging
