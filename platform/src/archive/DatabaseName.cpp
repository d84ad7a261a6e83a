// SPDX-License-Identifier: MIT
#include "KxTileArchivePlaces.h"

#include <sys/stat.h>

#include <array>
#include <exception>
#include <fstream>
#include <string>

namespace KxC {

namespace {

/// `path` as a URI, so that nothing in it is taken for anything else.
std::string UriOf(const std::string& path)
{
    // Two slashes begin a host's name, which is empty here.
    std::string uri = path.starts_with('/') ? "file://" : "file:";
    for (const char character : path) {
        if (character == '%')
            uri += "%25";
        else if (character == '?')
            uri += "%3f";
        else if (character == '#')
            uri += "%23";
        else
            uri += character;
    }
    return uri;
}

bool HasContent(const std::string& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && status.st_size > 0;
}

/// Whether the database keeps its changes in a log beside it: SQLite goes by the version for
/// readers, which stands behind the one for writers.
bool HasLog(const std::string& path)
{
    std::array<char, 20> start{};
    constexpr char kWriteAhead = 2;
    std::ifstream file(path, std::ios::binary);
    return file.read(start.data(), start.size()).good() && start[19] == kWriteAhead;
}

} // namespace

KxString KxTileArchivePlaces::NameForSqlite(const KxString& path)
try {
    const std::string name = path.Cstr();
    const bool atRest = HasLog(name) && !HasContent(name + "-wal");
    return (UriOf(name) + (atRest ? "?immutable=1" : "")).c_str();
} catch (const std::exception&) {
    return {}; // which SQLite takes for an empty database
}

} // namespace KxC
