// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

namespace KxC {

/// A file that is written from its start to its end and read anywhere. The operations throw
/// ArchiveError.
class SpoolFile
{
public:
    /// A file without a name, which is gone when it is closed.
    /// @param neighbour  path in whose folder it lies
    static SpoolFile Nameless(const std::string& neighbour);
    /// A new file of that name.
    static SpoolFile Named(const std::string& path);

    SpoolFile(SpoolFile&& other) noexcept;
    ~SpoolFile();
    SpoolFile& operator=(SpoolFile&&) = delete;

    unsigned long long Size() const { return m_nWritten + m_buffer.size(); }
    void Append(const void* bytes, std::size_t size);
    /// What was appended last may be read too.
    void Read(unsigned long long offset, void* bytes, std::size_t size);
    void Flush();

private:
    explicit SpoolFile(int file);
    void Write(const unsigned char* bytes, std::size_t size);

    int m_nFile;
    unsigned long long m_nWritten = 0;
    std::vector<unsigned char> m_buffer;
};

/// Records one behind the other.
template <typename Record>
class RecordFile
{
    static_assert(std::is_trivially_copyable_v<Record>);

public:
    explicit RecordFile(const std::string& neighbour) : m_file(SpoolFile::Nameless(neighbour)) {}

    unsigned long long Count() const { return m_file.Size() / sizeof(Record); }
    void Append(const Record* records, std::size_t count)
    {
        m_file.Append(records, count * sizeof(Record));
    }
    /// @param records  receives `count`
    void Read(unsigned long long first, std::size_t count, std::vector<Record>& records)
    {
        records.resize(count);
        m_file.Read(first * sizeof(Record), records.data(), count * sizeof(Record));
    }

private:
    SpoolFile m_file;
};

} // namespace KxC
