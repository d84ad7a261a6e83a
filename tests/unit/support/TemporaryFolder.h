// SPDX-License-Identifier: MIT
#pragma once

#include "KxFile.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace KxC::Testing {

/// A folder of its own for one test, gone with it. While it lives it is the application's cache
/// folder too.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "kxtile-XXXXXX").string();
        m_path = ::mkdtemp(pattern.data());
        m_cachePathBefore = KxFile::m_strAppCachePath;
        KxFile::m_strAppCachePath = m_path.c_str();
    }
    ~TemporaryFolder()
    {
        KxFile::m_strAppCachePath = m_cachePathBefore;
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    std::string Write(const std::string& name, const std::string& text) const
    {
        std::ofstream(m_path / name, std::ios::binary) << text;
        return (m_path / name).string();
    }
    std::string Read(const std::string& name) const
    {
        std::ifstream file(m_path / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path m_path;
    KxString m_cachePathBefore;
};

} // namespace KxC::Testing
