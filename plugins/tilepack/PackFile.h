// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>

namespace KxC {

/// A file that is read piece by piece. Any thread, several at once.
class PackFile
{
public:
    /// @throws PackError when there is no such file, or it is something else than a file
    explicit PackFile(const std::string& path);
    PackFile(PackFile&& other) noexcept;
    ~PackFile();
    PackFile& operator=(PackFile&&) = delete;

    /// Bytes, when it was opened.
    unsigned long long Size() const { return m_nSize; }
    /// @return false unless all of it was read
    bool Read(unsigned long long offset, std::span<unsigned char> bytes) const;

private:
    int m_nFile;
    unsigned long long m_nSize = 0;
};

} // namespace KxC
