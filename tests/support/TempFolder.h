// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace KxC {

/// A new folder below the system's temporary one, removed with its content at the end.
class TempFolder
{
public:
    TempFolder()
    {
        std::string path = (std::filesystem::temp_directory_path() / "kxtile-XXXXXX").string();
        if (::mkdtemp(path.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        m_path = path;
    }
    ~TempFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::string File(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

/// The whole content of a file, empty when there is none.
inline std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

} // namespace KxC
