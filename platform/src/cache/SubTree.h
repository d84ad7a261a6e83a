// SPDX-License-Identifier: MIT
#pragma once

#include "TileDatabase.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace KxC {

/// One sub-tree of the disk cache: its file and a bounded pool of connections to it. Any thread.
/// The file is looked at when an operation needs it, not before.
class SubTree
{
public:
    explicit SubTree(std::string path);

    GetchResult Load(const TilePlace& place, KxSRawDataTypeCacheItem& item);
    bool Save(const TilePlace& place, const unsigned char* bytes, unsigned int size);
    bool SaveNoData(const TilePlace& place);
    bool Count(TileCounts& counts, std::string& description);
    bool DeleteAll();
    bool Describe(const std::string& description);
    /// Closes the connections, those in use when they come back; every operation fails from now on.
    void Close();

private:
    enum class Purpose { Read, Write };
    class Loan;

    template <typename Operation>
    DatabaseResult Run(Purpose purpose, Operation&& operation);
    template <typename Operation>
    DatabaseResult RunOnce(Purpose purpose, Operation&& operation);
    std::unique_ptr<TileDatabase> Take();
    void GiveBack(std::unique_ptr<TileDatabase> database) noexcept;
    DatabaseResult Open(TileDatabase& database, Purpose purpose);

    const std::string m_path;
    std::mutex m_opening; ///< held while a connection is opened that may have to make the file
    std::mutex m_lock;
    std::condition_variable m_returned;
    std::vector<std::unique_ptr<TileDatabase>> m_idle; ///< the last one used at the end
    int m_nLent = 0;
    bool m_closed = false;
};

} // namespace KxC
