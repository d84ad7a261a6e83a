// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace KxC {

/// A new folder beside a file that is to be, for what is written on the way; removed with its
/// content at the end. On the same disk, so that the finished file is renamed into place.
class StagingFolder
{
public:
    /// @param path  of the file to be. Fails where its folder is missing or cannot be written to:
    ///              IsThere then answers false
    explicit StagingFolder(const std::string& path);
    ~StagingFolder();
    StagingFolder(const StagingFolder&) = delete;
    StagingFolder& operator=(const StagingFolder&) = delete;

    bool IsThere() const { return !m_folder.empty(); }
    std::string File(const char* name) const { return m_folder + '/' + name; }

private:
    std::string m_folder;
};

} // namespace KxC
