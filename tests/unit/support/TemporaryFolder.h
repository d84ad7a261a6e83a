// SPDX-License-Identifier: MIT
#pragma once

#include "KxFile.h"
#include "support/TempFolder.h"

#include <filesystem>
#include <string>

namespace KxC::Testing {

/// A folder of its own for one test, gone with it. While it lives it is the application's cache
/// folder too.
class TemporaryFolder
{
public:
    TemporaryFolder() : m_cachePathBefore(KxFile::m_strAppCachePath)
    {
        KxFile::m_strAppCachePath = Path().c_str();
    }
    ~TemporaryFolder() { KxFile::m_strAppCachePath = m_cachePathBefore; }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_folder.Path(); }

    /// @return the path of the file
    std::string Write(const std::string& name, const std::string& text) const
    {
        WriteFile(Path() / name, text);
        return m_folder.File(name);
    }
    std::string Read(const std::string& name) const { return ReadFile(Path() / name); }

private:
    TempFolder m_folder;
    KxString m_cachePathBefore;
};

} // namespace KxC::Testing
