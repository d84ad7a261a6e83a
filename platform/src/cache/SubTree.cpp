// SPDX-License-Identifier: MIT
#include "SubTree.h"

#include "DamagedFile.h"
#include "KxFile.h"

#include <atomic>
#include <utility>

namespace KxC {

namespace {

/// More threads than this take turns; SQLite lets one at a time write anyway.
constexpr int kMaxConnections = 8;
/// Each idle connection holds up to three file descriptors of the host's.
constexpr int kMaxIdleInProcess = 64;

std::atomic<int> s_idle{0};

} // namespace

/// A connection out of the pool, or the right to open one.
class SubTree::Loan
{
public:
    explicit Loan(SubTree& tree) : m_tree(tree), m_database(tree.Take()) {}
    ~Loan() { m_tree.GiveBack(std::move(m_database)); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    std::unique_ptr<TileDatabase>& Get() { return m_database; }

private:
    SubTree& m_tree;
    std::unique_ptr<TileDatabase> m_database;
};

SubTree::SubTree(std::string path) : m_path(std::move(path))
{
    m_idle.reserve(kMaxConnections);
}

std::unique_ptr<TileDatabase> SubTree::Take()
{
    std::unique_lock<std::mutex> guard(m_lock);
    m_returned.wait(guard, [this] { return m_nLent < kMaxConnections; });
    ++m_nLent;
    if (m_idle.empty())
        return nullptr;
    --s_idle;
    std::unique_ptr<TileDatabase> database = std::move(m_idle.back());
    m_idle.pop_back();
    return database;
}

void SubTree::GiveBack(std::unique_ptr<TileDatabase> database) noexcept
{
    const bool keep = database != nullptr && ++s_idle <= kMaxIdleInProcess;
    if (database != nullptr && !keep)
        --s_idle;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        --m_nLent;
        if (keep && !m_closed)
            m_idle.push_back(std::move(database));
        else if (keep)
            --s_idle;
    }
    m_returned.notify_one();
}

void SubTree::Close()
{
    std::vector<std::unique_ptr<TileDatabase>> idle;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_closed = true;
        idle.swap(m_idle);
    }
    s_idle -= static_cast<int>(idle.size());
}

DatabaseResult SubTree::Open(TileDatabase& database, Purpose purpose)
{
    if (purpose == Purpose::Read)
        return database.Open(m_path, false);
    // One thread makes the file; the others would only wait for each other by polling its locks.
    const std::lock_guard<std::mutex> guard(m_opening);
    if (KxFile::MkDirEx(KxFile::GetDir(m_path.c_str())) == 0)
        return DatabaseResult::Failed;
    return database.Open(m_path, true);
}

template <typename Operation>
DatabaseResult SubTree::RunOnce(Purpose purpose, Operation&& operation)
{
    Loan loan(*this);
    std::unique_ptr<TileDatabase>& database = loan.Get();
    DatabaseResult result = DatabaseResult::Done;
    if (database == nullptr || !database->IsCurrent() ||
        (purpose == Purpose::Write && !database->IsWritable())) {
        database = std::make_unique<TileDatabase>();
        result = Open(*database, purpose);
    }
    const bool opened = result == DatabaseResult::Done;
    if (opened)
        result = operation(*database);
    if (result == DatabaseResult::Damaged && !SetDamagedFileAside(m_path, *database))
        result = DatabaseResult::Failed;
    // A connection that failed, or has nothing to read, may be better off opened anew.
    if (!opened || (result != DatabaseResult::Done && result != DatabaseResult::Missing))
        database = nullptr;
    return result;
}

template <typename Operation>
DatabaseResult SubTree::Run(Purpose purpose, Operation&& operation)
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_closed)
            return DatabaseResult::Failed;
    }
    const DatabaseResult result = RunOnce(purpose, operation);
    // The damaged file is out of the way: what was to be saved starts a fresh one.
    return result == DatabaseResult::Damaged ? RunOnce(purpose, operation) : result;
}

GetchResult SubTree::Load(const TilePlace& place, KxSRawDataTypeCacheItem& item)
{
    const DatabaseResult result =
        Run(Purpose::Read, [&](TileDatabase& database) { return database.Load(place, item); });
    return result == DatabaseResult::Done ? item.m_nState : GetchResult_Unknown;
}

bool SubTree::Save(const TilePlace& place, const unsigned char* bytes, unsigned int size)
{
    return Run(Purpose::Write, [&](TileDatabase& database) {
               return database.Save(place, bytes, size);
           }) == DatabaseResult::Done;
}

bool SubTree::SaveNoData(const TilePlace& place)
{
    return Run(Purpose::Write, [&](TileDatabase& database) {
               return database.SaveNoData(place);
           }) == DatabaseResult::Done;
}

bool SubTree::Count(TileCounts& counts, std::string& description)
{
    TileDatabase database;
    const DatabaseResult opened = Open(database, Purpose::Read);
    if (opened == DatabaseResult::Done)
        return database.Count(counts) == DatabaseResult::Done &&
               database.ReadDescription(description) == DatabaseResult::Done;
    return opened == DatabaseResult::Missing;
}

bool SubTree::DeleteAll()
{
    const DatabaseResult result =
        KxFile::IsExist(m_path.c_str()) == 0
            ? DatabaseResult::Done
            : Run(Purpose::Write, [](TileDatabase& database) { return database.DeleteAll(); });
    return result == DatabaseResult::Done;
}

bool SubTree::Describe(const std::string& description)
{
    std::string present;
    const DatabaseResult read = Run(
        Purpose::Read, [&](TileDatabase& database) { return database.ReadDescription(present); });
    if (read != DatabaseResult::Done || present == description)
        return read == DatabaseResult::Done;
    return Run(Purpose::Write, [&](TileDatabase& database) {
               return database.SaveDescription(description);
           }) == DatabaseResult::Done;
}

} // namespace KxC
