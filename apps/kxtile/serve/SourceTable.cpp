// SPDX-License-Identifier: MIT
#include "serve/SourceTable.h"

namespace KxTileHost::Serve {

SourceList::SourceList(std::vector<SourcePtr> sources) : m_sources(std::move(sources))
{
    for (std::size_t i = 0; i < m_sources.size(); ++i)
        m_byId.emplace(m_sources[i]->m_id, i);
}

const Source* SourceList::Find(const std::string& id) const
{
    const auto found = m_byId.find(id);
    return found == m_byId.end() ? nullptr : m_sources[found->second].get();
}

SourcePtr SourceList::Share(const std::string& id) const
{
    const auto found = m_byId.find(id);
    return found == m_byId.end() ? nullptr : m_sources[found->second];
}

std::shared_ptr<const SourceList> SourceTable::Get() const
{
    const std::lock_guard guard(m_lock);
    return m_list;
}

void SourceTable::Set(std::vector<SourcePtr> sources)
{
    auto list = std::make_shared<const SourceList>(std::move(sources));
    const std::lock_guard guard(m_lock);
    m_list.swap(list);
}

} // namespace KxTileHost::Serve
