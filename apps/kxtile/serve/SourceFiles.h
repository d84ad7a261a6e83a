// SPDX-License-Identifier: MIT
/// Which sources there are: files as named, those of folders, the entries of lists.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace KxTileHost::Serve {

/// The file of a path: without the "#name" that chooses one of several sources in it, unless the
/// file's own name ends that way.
std::string FileOf(const std::string& path);

/// A path as others may see it: without the folder, with the "#name".
std::string WithoutFolders(const std::string& path);

/// Times, size and number of a source's file; another one after every change of it. Empty where no
/// file is.
std::string StampOf(const std::string& path);

/// The named paths with folders replaced by the definitions and rasters in them, each once.
std::vector<std::string> FindFiles(const std::vector<std::string>& named);

/// A source where it is found.
struct ListedSource
{
    std::string m_path; ///< as SourceArgument reads it
    std::string m_name; ///< that its address is made of
};

/// Tells the sources that files hold: most hold one, lists of connections and the like several.
/// What was read of a file is remembered for as long as the file stays the same. For one thread at
/// a time.
class SourceLists
{
public:
    /// A hostile list must not keep the gateway from starting: each entry reads the whole file.
    static constexpr std::size_t kMostOfList = 500;

    struct List
    {
        std::string m_stamp; ///< of the file when it was read
        std::vector<ListedSource> m_sources;
        std::size_t m_leftOut = 0; ///< entries that are not among them
        bool m_isFresh = false;    ///< the last Read of it has read the file
    };

    /// @param file  of FindFiles. The sources of a list that cannot be read any more stay those of
    ///              before
    const List& Read(const std::string& file);

    /// What Read told of a file; null when it never did.
    const List* Find(const std::string& file) const;

private:
    std::map<std::string, List> m_lists;
};

} // namespace KxTileHost::Serve
