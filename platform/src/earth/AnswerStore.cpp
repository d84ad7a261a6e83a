// SPDX-License-Identifier: MIT
#include "AnswerStore.h"

#include <utility>

namespace KxC::Earth {

namespace {

constexpr std::size_t kMaxRoots = 64;

} // namespace

SharedRoot RootStore::Find(const std::string& url)
{
    const std::lock_guard guard(m_lock);
    const auto found = m_roots.find(url);
    return found == m_roots.end() ? nullptr : found->second;
}

void RootStore::Put(const std::string& url, SharedRoot root)
{
    const std::lock_guard guard(m_lock);
    if (m_roots.size() >= kMaxRoots)
        m_roots.clear();
    m_roots[url] = std::move(root);
}

void RootStore::Clear()
{
    const std::lock_guard guard(m_lock);
    m_roots.clear();
}

} // namespace KxC::Earth
