// SPDX-License-Identifier: MIT
#include "KxRawDataTypeCache.h"

#include "SubTree.h"
#include "SubTreeFolder.h"

#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace KxC {

namespace {

std::string_view ViewOf(const KxString& text)
{
    return {text.Cstr(), static_cast<std::size_t>(text.GetLength())};
}

bool IsStorable(const KxSRawDataTypeCacheItem& item)
{
    return item.m_nState == GetchResult_HasData && item.m_nSize <= TileDatabase::kMaxTileBytes &&
           (item.m_pData != nullptr || item.m_nSize == 0);
}

KxRawDataSubTreeInfo Describe(const std::string& folder, const std::string& name)
{
    const std::string path = SubTreePath(folder, name);
    TileCounts counts;
    KxRawDataSubTreeInfo info;
    std::string description;
    info.m_bReadable = SubTree(path).Count(counts, description);
    info.m_strName = name.c_str();
    info.m_strPath = path.c_str();
    info.m_strDescription = description.c_str();
    info.m_nTiles = counts.m_nTiles;
    info.m_nNoData = counts.m_nNoData;
    info.m_nBytes = SubTreeBytes(path);
    return info;
}

} // namespace

struct KxRawDataTypeCacheManager::Store
{
    int Open(const std::string& path);
    SubTree* Find(CacheType type, int handle);
    void Close();

    std::shared_mutex m_lock;
    /// A handle is a position here. The path is part of the key: a host may change the folder.
    std::vector<std::unique_ptr<SubTree>> m_trees;
    std::unordered_map<std::string, int> m_handles;
};

int KxRawDataTypeCacheManager::Store::Open(const std::string& path)
{
    {
        const std::shared_lock<std::shared_mutex> guard(m_lock);
        const auto found = m_handles.find(path);
        if (found != m_handles.end())
            return found->second;
    }
    const std::lock_guard<std::shared_mutex> guard(m_lock);
    const auto found = m_handles.find(path);
    if (found != m_handles.end())
        return found->second;
    const auto handle = static_cast<int>(m_trees.size());
    m_trees.push_back(std::make_unique<SubTree>(path));
    try {
        m_handles.emplace(path, handle);
    } catch (...) {
        m_trees.pop_back();
        throw;
    }
    return handle;
}

SubTree* KxRawDataTypeCacheManager::Store::Find(CacheType type, int handle)
{
    const std::shared_lock<std::shared_mutex> guard(m_lock);
    if (!IsCacheType(type) || handle < 0 || static_cast<std::size_t>(handle) >= m_trees.size())
        return nullptr;
    return m_trees[static_cast<std::size_t>(handle)].get();
}

void KxRawDataTypeCacheManager::Store::Close()
{
    const std::shared_lock<std::shared_mutex> guard(m_lock);
    for (const std::unique_ptr<SubTree>& tree : m_trees)
        tree->Close();
}

KxRawDataTypeCacheManager::KxRawDataTypeCacheManager() : m_store(new Store) {}

KxRawDataTypeCacheManager::~KxRawDataTypeCacheManager()
{
    m_store->Close();
    if (this != &m_gRawDataTypeCacheManager)
        delete m_store;
}

int KxRawDataTypeCacheManager::OpenSubTreeCache(CacheType type, const KxString& name)
try {
    if (!IsCacheType(type) || !IsSubTreeName(ViewOf(name)))
        return -1;
    return m_store->Open(SubTreePath(SubTreeFolder(type), ViewOf(name)));
} catch (...) {
    return -1;
}

GetchResult KxRawDataTypeCacheManager::LoadTreeData(
    CacheType type, int handle, int level, int row, int col, KxSRawDataTypeCacheItem& item)
try {
    SubTree* const tree = m_store->Find(type, handle);
    return tree == nullptr ? GetchResult_Unknown : tree->Load({level, row, col}, item);
} catch (...) {
    return GetchResult_Unknown;
}

unsigned char KxRawDataTypeCacheManager::SaveTreeData(
    CacheType type, int handle, int level, int row, int col, const KxSRawDataTypeCacheItem& item)
try {
    SubTree* const tree = m_store->Find(type, handle);
    if (tree == nullptr || !IsStorable(item))
        return 0;
    return tree->Save({level, row, col}, item.m_pData, item.m_nSize) ? 1 : 0;
} catch (...) {
    return 0;
}

unsigned char KxRawDataTypeCacheManager::SaveNoTreeDataInServer(
    CacheType type, int handle, int level, int row, int col)
try {
    SubTree* const tree = m_store->Find(type, handle);
    return tree != nullptr && tree->SaveNoData({level, row, col}) ? 1 : 0;
} catch (...) {
    return 0;
}

std::vector<KxRawDataSubTreeInfo> KxRawDataTypeCacheManager::ListSubTrees(CacheType type)
try {
    std::vector<KxRawDataSubTreeInfo> trees;
    if (!IsCacheType(type))
        return trees;
    const std::string folder = SubTreeFolder(type);
    for (const std::string& name : SubTreeNames(folder))
        trees.push_back(Describe(folder, name));
    return trees;
} catch (...) {
    return {};
}

std::vector<KxRawDataDamagedFile> KxRawDataTypeCacheManager::ListDamagedFiles(CacheType type)
try {
    std::vector<KxRawDataDamagedFile> files;
    if (!IsCacheType(type))
        return files;
    const std::string folder = SubTreeFolder(type);
    for (const std::string& name : DamagedFileNames(folder)) {
        const std::string path = folder + "/" + name;
        files.push_back({path.c_str(), SubTreeBytes(path)});
    }
    return files;
} catch (...) {
    return {};
}

unsigned char KxRawDataTypeCacheManager::ClearSubTree(CacheType type, const KxString& name)
try {
    SubTree* const tree = m_store->Find(type, OpenSubTreeCache(type, name));
    return tree != nullptr && tree->DeleteAll() ? 1 : 0;
} catch (...) {
    return 0;
}

unsigned char KxRawDataTypeCacheManager::DescribeSubTree(CacheType type,
                                                         const KxString& name,
                                                         const KxString& description)
try {
    SubTree* const tree = m_store->Find(type, OpenSubTreeCache(type, name));
    return tree != nullptr && tree->Describe(std::string(ViewOf(description))) ? 1 : 0;
} catch (...) {
    return 0;
}

KxRawDataTypeCacheManager m_gRawDataTypeCacheManager;

} // namespace KxC
